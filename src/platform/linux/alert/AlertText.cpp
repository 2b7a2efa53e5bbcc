#include "platform/linux/alert/AlertText.h"

#include <QFontMetrics>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <vector>

#include "platform/linux/x11/overlay/boundedText.h"

namespace vesk::alert {
namespace {

constexpr QChar zeroWidthSpace(0x200b);

/// Where characters as a person counts them begin, and the end of the text.
std::vector<qsizetype> boundaries(const QString& text) {
  std::vector<qsizetype> found{0};
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  for (auto next = finder.toNextBoundary(); next > 0; next = finder.toNextBoundary()) {
    found.push_back(next);
  }
  return found;
}

bool fits(const QString& text, const QFontMetrics& metrics, int width, int lines) {
  // A name in another script may need a font with taller lines than this one's.
  constexpr double tallestScript = 1.5;
  const QRect needed = metrics.boundingRect(QRect(0, 0, width, 1 << 20), Qt::TextWordWrap, text);
  return needed.height() <= static_cast<int>(metrics.lineSpacing() * lines * tallestScript) &&
         needed.width() <= width;
}

}  // namespace

QString paragraph(const QString& text) {
  constexpr int longestWord = 20;
  const QString simple = text.simplified();
  const auto starts = boundaries(simple);
  QString result;
  int word = 0;
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    const QString character = simple.mid(starts[i], starts[i + 1] - starts[i]);
    word = character.front().isSpace() ? 0 : word + 1;
    if (word > longestWord) result += zeroWidthSpace;
    result += character;
  }
  return result;
}

QString elidedParagraph(const QString& text, const QFont& font, int width, int lines) {
  const QFontMetrics metrics(font);
  QString whole = paragraph(x11::overlay::boundedText(text.simplified()));
  if (fits(whole, metrics, width, lines)) return whole;

  constexpr std::size_t keptAtTheEnd = 40;
  const auto starts = boundaries(whole);
  const std::size_t count = starts.size() - 1;
  const QString end = whole.mid(starts[count - std::min(count, keptAtTheEnd)]);
  const auto without = [&](std::size_t kept) {
    return whole.left(starts[kept]) + QChar(0x2026) + end;
  };
  std::size_t most = 0;
  for (std::size_t low = 0, high = count; low <= high && high > 0;) {
    const std::size_t middle = (low + high) / 2;
    if (fits(without(middle), metrics, width, lines)) {
      most = middle;
      low = middle + 1;
    } else {
      high = middle - 1;
      if (middle == 0) break;
    }
  }
  return without(most);
}

}  // namespace vesk::alert
