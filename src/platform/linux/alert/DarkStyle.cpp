#include "platform/linux/alert/DarkStyle.h"

#include <algorithm>
#include <array>

namespace vesk::alert {
namespace {

struct Sisters {
  const char* light;
  const char* dark;
};

/// One that takes its colours from the palette is its own sister.
constexpr auto known = std::to_array<Sisters>({
    {"Fusion", "Fusion"},
    {"Windows", "Windows"},
    {"Breeze", "Breeze"},
    {"Oxygen", "Oxygen"},
    {"Adwaita", "Adwaita-Dark"},
    {"HighContrast", "HighContrastInverse"},
});

bool isSame(const QString& style, const QString& other) {
  return style.compare(other, Qt::CaseInsensitive) == 0;
}

}  // namespace

std::optional<QString> darkStyle(const QString& style, const QStringList& available) {
  const auto sisters = std::ranges::find_if(known, [&](const Sisters& each) {
    return isSame(style, each.light) || isSame(style, each.dark);
  });
  if (sisters == known.end() || !available.contains(sisters->dark, Qt::CaseInsensitive)) {
    return std::nullopt;
  }
  return sisters->dark;
}

}  // namespace vesk::alert
