#pragma once

#include <QString>
#include <QVariantList>
#include <cstdint>

#include "platform/Geometry.h"
#include "support/Mutter.h"
#include "support/WlWindow.h"

namespace vesk::testing {

/// The person's mouse and keyboard on a Mutter. Each stroke has been taken when the call returns.
/// A keyboard is in the seat from the first key on. The desktop outlives it.
class MutterHand {
 public:
  explicit MutterHand(const Mutter& desktop);
  ~MutterHand();
  MutterHand(const MutterHand&) = delete;
  MutterHand& operator=(const MutterHand&) = delete;

  /// Places are those that a window over the whole monitor counts.
  void moveTo(Point point);

  /// Returns when a full-screen window is shown in its place, where the pointer is then: all
  /// windows come up small, and grow for a quarter of a second. Whether it is.
  bool awaitFullSize(const WlWindow& window);

  void click(Point point);

  /// evdev's codes.
  void button(int code, bool isDown);
  void key(std::uint32_t code, bool isDown);
  void strike(std::uint32_t code);

 private:
  void call(const QString& method, const QVariantList& arguments = {}) const;

  const Mutter& desktop_;
  QString session_;
  QString screen_;
};

}  // namespace vesk::testing
