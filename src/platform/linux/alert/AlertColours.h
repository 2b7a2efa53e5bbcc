#pragma once

#include <QColor>
#include <QPalette>

/// Colours of an alert beyond what the desktop's style draws by itself. Thread: any.
namespace vesk::alert {

/// How well one colour can be read on the other, from 1 to 21, whichever is the lighter.
double contrast(const QColor& one, const QColor& other);

/// Whether text is lighter than what it stands on.
bool isDark(const QPalette& palette);

/// The desktop's palette, for the other buttons: with a text that can be read, where a theme has
/// given it the button's own colour.
QPalette buttonPalette(const QPalette& palette);

/// The desktop's palette, for the button that Return presses: filled with the desktop's accent
/// colour, as dark as its text needs it.
QPalette defaultButtonPalette(const QPalette& palette);

}  // namespace vesk::alert
