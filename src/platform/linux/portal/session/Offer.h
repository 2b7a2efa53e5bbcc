#pragma once

#include <QVariantMap>
#include <chrono>
#include <cstdint>
#include <optional>

namespace vesk::portal::session {

/// What a portal can do. Its devices are bits: 1 a keyboard, 2 a pointer.
struct Offer {
  std::uint32_t remoteDesktop = 0;  ///< versions; 0 is none
  std::uint32_t screenCast = 0;
  std::uint32_t devices = 0;
  std::uint32_t cursorModes = 0;

  static constexpr std::uint32_t keyboardAndPointer = 3;

  /// Interfaces that nobody stands behind are shown as well: with no devices.
  bool servesDesktop() const {
    return remoteDesktop > 0 && screenCast > 0 && (devices & keyboardAndPointer) != 0;
  }

  bool operator==(const Offer&) const = default;
};

/// Of the properties of both interfaces.
Offer offerOf(const QVariantMap& remoteDesktop, const QVariantMap& screenCast);

/// Thread: any; before there is an application of Qt's, the one that will make it. What the
/// session's portal offers; nothing where there is none, or none that answers within that time. One
/// that is only being started took eleven seconds at worst.
std::optional<Offer> askForOffer(std::chrono::milliseconds patience = std::chrono::seconds(15));

}  // namespace vesk::portal::session
