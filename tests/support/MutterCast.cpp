#include "support/MutterCast.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QVariantMap>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

#include "platform/UnixSocket.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

const QString service = "org.gnome.Mutter.ScreenCast";

/// The streams of screens that PipeWire has at this moment. Signals of the bus would need a loop.
std::set<std::uint32_t> nodes(const Mutter& desktop) {
  const auto line = "XDG_RUNTIME_DIR='" + desktop.runtimeFolder().string() + "' pw-dump";
  FILE* const pipe = ::popen(line.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run pw-dump");
  std::string text;
  std::array<char, 4096> part{};
  for (std::size_t count = 0; (count = ::fread(part.data(), 1, part.size(), pipe)) > 0;)
    text.append(part.data(), count);
  ::pclose(pipe);
  std::set<std::uint32_t> found;
  const auto all = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!all.is_array()) return found;
  for (const auto& each : all) {
    const auto name = nlohmann::json::json_pointer("/info/props/media.name");
    if (each.contains(name) && each[name] == "meta-screen-cast-src")
      found.insert(each["id"].get<std::uint32_t>());
  }
  return found;
}

}  // namespace

MutterCast::MutterCast(const Mutter& desktop, Pointer pointer) : desktop_(desktop) {
  const auto before = nodes(desktop_);
  session_ = call("/org/gnome/Mutter/ScreenCast", service, "CreateSession", {QVariantMap()});
  call(session_, service + ".Session", "RecordMonitor",
       {QString("Meta-0"), QVariantMap{{"cursor-mode", static_cast<unsigned>(pointer)}}});
  call(session_, service + ".Session", "Start");
  const auto isThere = [&] {
    for (const auto node : nodes(desktop_)) {
      if (!before.contains(node)) node_ = node;
    }
    return node_ != 0;
  };
  if (!waitUntil(isThere)) throw std::runtime_error("no stream has come");
}

MutterCast::~MutterCast() { stop(); }

Descriptor MutterCast::remote() const {
  auto socket = unixSocket::open();
  if (!unixSocket::connect(socket, desktop_.pipeWireSocket()))
    throw std::runtime_error("PipeWire does not answer");
  return socket;
}

void MutterCast::stop() {
  if (session_.isEmpty()) return;
  desktop_.bus().call(
      QDBusMessage::createMethodCall(service, session_, service + ".Session", "Stop"),
      QDBus::NoBlock);
  session_.clear();
}

/// The path that is answered, if any.
QString MutterCast::call(const QString& path, const QString& interface, const QString& method,
                         const QVariantList& arguments) const {
  auto message = QDBusMessage::createMethodCall(service, path, interface, method);
  message.setArguments(arguments);
  const auto answer = desktop_.bus().call(message, QDBus::Block, patience());
  if (answer.type() != QDBusMessage::ReplyMessage)
    throw std::runtime_error(answer.errorMessage().toStdString());
  const auto values = answer.arguments();
  return values.isEmpty() ? QString() : values.at(0).value<QDBusObjectPath>().path();
}

}  // namespace vesk::testing
