#pragma once

#include <QString>
#include <cstdint>

#include "platform/Descriptor.h"
#include "support/Mutter.h"

namespace vesk::testing {

/// A stream of a Mutter's monitor, which the desktop itself gives without asking anybody. It flows
/// once somebody has connected to it. The desktop outlives it.
class MutterCast {
 public:
  /// How the pointer comes along.
  enum class Pointer : unsigned { hidden, inThePicture, beside };

  explicit MutterCast(const Mutter& desktop, Pointer pointer = Pointer::beside);
  ~MutterCast();
  MutterCast(const MutterCast&) = delete;
  MutterCast& operator=(const MutterCast&) = delete;

  /// Of PipeWire.
  std::uint32_t node() const { return node_; }

  /// A connection to PipeWire.
  Descriptor remote() const;

  /// Ends it as the person does.
  void stop();

 private:
  QString call(const QString& path, const QString& interface, const QString& method,
               const QVariantList& arguments = {}) const;

  const Mutter& desktop_;
  QString session_;
  std::uint32_t node_ = 0;
};

}  // namespace vesk::testing
