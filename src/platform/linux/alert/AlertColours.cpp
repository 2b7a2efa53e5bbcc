#include "platform/linux/alert/AlertColours.h"

#include <algorithm>
#include <cmath>

namespace vesk::alert {
namespace {

double luminance(const QColor& colour) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
         0.0722 * linear(colour.blueF());
}

}  // namespace

double contrast(const QColor& one, const QColor& other) {
  const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
  return (lighter + 0.05) / (darker + 0.05);
}

bool isDark(const QPalette& palette) {
  return luminance(palette.color(QPalette::Window)) <
         luminance(palette.color(QPalette::WindowText));
}

QPalette buttonPalette(const QPalette& palette) {
  constexpr double wanted = 4.5;
  QPalette readable = palette;
  for (const auto group : {QPalette::Active, QPalette::Inactive}) {
    const QColor button = palette.color(group, QPalette::Button);
    if (contrast(button, palette.color(group, QPalette::ButtonText)) >= wanted) continue;
    const bool onDark = contrast(button, Qt::white) > contrast(button, Qt::black);
    readable.setColor(group, QPalette::ButtonText, onDark ? Qt::white : Qt::black);
  }
  return readable;
}

QPalette defaultButtonPalette(const QPalette& palette) {
  // The accessibility guidelines' 4.5, and what rounding may take.
  constexpr double wanted = 4.55;
  constexpr int slightlyDarker = 106;
  QColor accent = palette.color(QPalette::Active, QPalette::Highlight);
  while (contrast(accent, Qt::white) < wanted) accent = accent.darker(slightlyDarker);
  QPalette filled = palette;
  for (const auto group : {QPalette::Active, QPalette::Inactive}) {
    filled.setColor(group, QPalette::Button, accent);
    filled.setColor(group, QPalette::ButtonText, Qt::white);
  }
  return filled;
}

}  // namespace vesk::alert
