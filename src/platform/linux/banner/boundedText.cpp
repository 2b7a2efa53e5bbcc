#include "platform/linux/banner/boundedText.h"

namespace vesk::banner {
namespace {

// In code units. The widest text of this program, an alert's four lines, shows some 450 letters.
constexpr qsizetype keptAtTheBeginning = 768;
constexpr qsizetype keptAtTheEnd = 256;

}  // namespace

QString boundedText(const QString& text) {
  if (text.size() <= keptAtTheBeginning + keptAtTheEnd) return text;
  QString beginning = text.left(keptAtTheBeginning);
  QString end = text.right(keptAtTheEnd);
  if (beginning.back().isHighSurrogate()) beginning.chop(1);
  if (end.front().isLowSurrogate()) end.remove(0, 1);
  return beginning + QChar(0x2026) + end;
}

}  // namespace vesk::banner
