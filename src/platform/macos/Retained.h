#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace vesk::mac {

/// Owns one reference to an object of a C framework and releases it at the end of its life. Empty
/// where there is no object. Copies own references of their own. Thread: as the object's.
template <typename Ref>
class Retained {
 public:
  Retained() = default;
  ~Retained() { release(); }
  Retained(const Retained& other) : object_(other.object_) { retain(); }
  Retained(Retained&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Retained& operator=(Retained other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  /// Takes over what a function with Create or Copy in its name has given.
  static Retained adopt(Ref object) { return Retained(object); }

  /// Shares what a function with Get in its name, or a call-back, has lent.
  static Retained share(Ref object) {
    Retained shared(object);
    shared.retain();
    return shared;
  }

  Ref get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit Retained(Ref object) : object_(object) {}

  /// The frameworks do not take null.
  void retain() const {
    if (object_ != nullptr) CFRetain(object_);
  }
  void release() const {
    if (object_ != nullptr) CFRelease(object_);
  }

  Ref object_ = nullptr;
};

template <typename Ref>
Retained<Ref> adopt(Ref object) {
  return Retained<Ref>::adopt(object);
}

}  // namespace vesk::mac
