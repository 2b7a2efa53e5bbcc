#include "platform/linux/alert/DesktopLook.h"

#include <QApplication>
#include <QPalette>
#include <QString>
#include <QStyle>
#include <QStyleFactory>

#include "platform/linux/alert/AlertColours.h"
#include "platform/linux/alert/DarkStyle.h"
#include "platform/linux/alert/DesktopAppearance.h"

namespace vesk::alert {
namespace {

QPalette darkPalette() {
  const QColor text(0xee, 0xee, 0xec);
  QPalette palette(QColor(0x3d, 0x3d, 0x3d), QColor(0x35, 0x35, 0x35));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, text);
  }
  return palette;
}

/// Some themes pale what has not got the focus. A question is to be read there as well, and one of
/// its answers must not look as if it could not be given.
void keepColoursWithoutFocus(QPalette& palette) {
  for (int role = 0; role < QPalette::NColorRoles; ++role) {
    const auto each = static_cast<QPalette::ColorRole>(role);
    palette.setBrush(QPalette::Inactive, each, palette.brush(QPalette::Active, each));
  }
}

/// GNOME's own style is nobody's default. Whoever has chosen another one keeps it.
bool wantsGnomesStyle() {
  return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':').contains("GNOME") &&
         qEnvironmentVariableIsEmpty("QT_STYLE_OVERRIDE");
}

}  // namespace

void followDesktopLook() {
  static const QString usualStyle = QApplication::style()->name();
  const DesktopAppearance wanted = desktopAppearance();
  // Back to what the theme gives by itself, which may have changed meanwhile.
  QApplication::setPalette(QPalette());
  if (QApplication::style()->name() != usualStyle) QApplication::setStyle(usualStyle);

  const QString light = wantsGnomesStyle() ? "Adwaita" : QApplication::style()->name();
  const bool wantsDark = wanted.prefersDark || isDark(QApplication::palette());
  const auto dark = wantsDark ? darkStyle(light, QStyleFactory::keys()) : std::nullopt;
  const QString style = dark.value_or(light);
  if (QApplication::style()->name().compare(style, Qt::CaseInsensitive) != 0) {
    QApplication::setStyle(style);
  }
  QPalette palette = QApplication::palette();
  if (dark && !isDark(palette)) palette = darkPalette();
  if (!dark && isDark(palette)) palette = QApplication::style()->standardPalette();
  if (wanted.accent) palette.setColor(QPalette::Highlight, *wanted.accent);
  keepColoursWithoutFocus(palette);
  QApplication::setPalette(palette);
}

}  // namespace vesk::alert
