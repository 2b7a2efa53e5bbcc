// A person's hands on the compositor that WAYLAND_DISPLAY names, for tests in other languages: a
// line of standard input each, answered by "done" once the compositor has taken it.
//   move X Y        to a place in points on a screen of the size that the arguments say
//   key NUMBER down|up|tap      by the kernel's numbers
//   button NUMBER down|up|click

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include "support/WlHand.h"

namespace {

using vesk::testing::WlHand;

bool useKey(WlHand& hand, std::uint32_t key, const std::string& stroke) {
  if (stroke == "down") {
    hand.keyDown(key);
  } else if (stroke == "up") {
    hand.keyUp(key);
  } else if (stroke == "tap") {
    hand.tap(key);
  } else {
    return false;
  }
  return true;
}

bool useButton(WlHand& hand, std::uint32_t button, const std::string& stroke) {
  if (stroke == "down") {
    hand.press(button);
  } else if (stroke == "up") {
    hand.release(button);
  } else if (stroke == "click") {
    hand.click(button);
  } else {
    return false;
  }
  return true;
}

bool carryOut(WlHand& hand, const std::string& line, vesk::PixelSize screen) {
  std::istringstream words(line);
  std::string what;
  std::string stroke;
  std::uint32_t number = 0;
  vesk::Point place;
  words >> what;
  if (what == "move" && words >> place.x >> place.y) {
    hand.moveTo(place, screen);
    return true;
  }
  if (!(words >> number >> stroke)) return false;
  if (what == "key") return useKey(hand, number, stroke);
  return what == "button" && useButton(hand, number, stroke);
}

}  // namespace

int main(int argc, char* argv[]) try {
  if (argc != 3) {
    std::cerr << "usage: wayland_hand WIDTH HEIGHT\n";
    return EXIT_FAILURE;
  }
  const vesk::PixelSize screen{std::stoll(argv[1]), std::stoll(argv[2])};
  WlHand hand;
  std::cout << "done" << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    if (!carryOut(hand, line, screen)) {
      std::cerr << "wayland_hand: not understood: " << line << '\n';
      return EXIT_FAILURE;
    }
    std::cout << "done" << std::endl;
  }
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::cerr << "wayland_hand: " << error.what() << '\n';
  return EXIT_FAILURE;
}
