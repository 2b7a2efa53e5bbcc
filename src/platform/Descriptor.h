#pragma once

#include <utility>

namespace vesk {

/// Owns one file descriptor and closes it at the end of its life. -1 stands for none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      close();
      descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
  }

  int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }

  /// Hands it over to whoever closes it from then on.
  int release() { return std::exchange(descriptor_, -1); }

  /// Closes now instead of at the end of the object's life; does nothing the second time.
  void close();

 private:
  int descriptor_ = -1;
};

}  // namespace vesk
