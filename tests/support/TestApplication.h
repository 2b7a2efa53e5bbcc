#pragma once

#include <QApplication>
#include <array>

namespace vesk::testing {

/// Qt for a test that lays out and paints. `platform` is a plugin of Qt's: by default one that
/// needs no display.
class TestApplication {
 public:
  explicit TestApplication(const char* platform = "offscreen")
      : arguments_{name_.data(), option_.data(), const_cast<char*>(platform), nullptr} {}

 private:
  std::array<char, 16> name_{"vesk-remote"};
  std::array<char, 16> option_{"-platform"};
  std::array<char*, 4> arguments_;
  int count_ = 3;
  QApplication application_{count_, arguments_.data()};
};

}  // namespace vesk::testing
