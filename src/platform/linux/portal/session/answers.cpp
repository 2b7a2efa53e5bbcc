#include "platform/linux/portal/session/answers.h"

#include <QDBusArgument>

namespace vesk::portal::session {
namespace {

struct Pair {
  int first = 0;
  int second = 0;
};

std::optional<Pair> pairOf(const QVariant& value) {
  if (!value.canConvert<QDBusArgument>()) return std::nullopt;
  const auto argument = value.value<QDBusArgument>();
  if (argument.currentSignature() != "(ii)") return std::nullopt;
  Pair pair;
  argument.beginStructure();
  argument >> pair.first >> pair.second;
  argument.endStructure();
  return pair;
}

}  // namespace

std::optional<ToldStream> streamOf(const QVariantMap& results) {
  const auto value = results["streams"];
  if (!value.canConvert<QDBusArgument>()) return std::nullopt;
  const auto streams = value.value<QDBusArgument>();
  if (streams.currentSignature() != "a(ua{sv})") return std::nullopt;
  ToldStream stream;
  QVariantMap properties;
  streams.beginArray();
  const bool isThere = !streams.atEnd();
  if (isThere) {
    streams.beginStructure();
    streams >> stream.node >> properties;
    streams.endStructure();
  }
  // What was begun and not ended is never freed.
  streams.endArray();
  if (!isThere) return std::nullopt;
  const auto size = pairOf(properties["size"]);
  const auto position = pairOf(properties["position"]).value_or(Pair{});
  if (size && size->first > 0 && size->second > 0) {
    stream.area = Rect{{static_cast<double>(position.first), static_cast<double>(position.second)},
                       static_cast<double>(size->first),
                       static_cast<double>(size->second)};
  }
  return stream;
}

}  // namespace vesk::portal::session
