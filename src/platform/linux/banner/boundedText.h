#pragma once

#include <QString>

namespace vesk::banner {

/// Text from outside before anything is laid out. Its cost grows with the square of the length
/// where marks pile up, and no line of this program has room for so much: of a longer text the
/// beginning and the end stay, with an ellipsis between them. Surrogate pairs stay whole.
QString boundedText(const QString& text);

}  // namespace vesk::banner
