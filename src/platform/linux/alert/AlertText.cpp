#include "platform/linux/alert/AlertText.h"

#include <QTextBoundaryFinder>
#include <QTextLayout>
#include <algorithm>
#include <vector>

#include "platform/linux/banner/boundedText.h"

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

/// Whether it needs no more lines than that, broken as a label breaks it.
bool fits(const QString& text, const QFont& font, int width, int lines) {
  QTextLayout layout(text, font);
  layout.beginLayout();
  for (int count = 0;; ++count) {
    QTextLine line = layout.createLine();
    if (!line.isValid()) return true;
    if (count == lines) return false;
    line.setLineWidth(width);
    if (line.naturalTextWidth() > width) return false;
  }
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
  QString whole = paragraph(banner::boundedText(text.simplified()));
  if (fits(whole, font, width, lines)) return whole;

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
    if (fits(without(middle), font, width, lines)) {
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
