#pragma once

#include <QCoreApplication>
#include <array>
#include <utility>

namespace vesk::portal::session {

/// A private desktop, with Qt as a program on it has it. Whatever comes after it in an object finds
/// that desktop.
template <typename Desktop>
class DesktopOfTests {
  struct Entered : Desktop {
    template <typename... Options>
    explicit Entered(Options&&... options) : Desktop(std::forward<Options>(options)...) {
      this->enter();
    }
  };

  std::array<char, 6> name_{"tests"};
  std::array<char*, 2> arguments_{name_.data(), nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_.data()};

 public:
  Entered desktop;
};

}  // namespace vesk::portal::session
