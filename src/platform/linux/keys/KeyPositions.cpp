#include "platform/linux/keys/KeyPositions.h"

#include <array>

namespace vesk::keys {
namespace {

// clang-format off
/// By key code, eight to a row.
constexpr std::array<std::string_view, 0x80> positions{
    "AC01", "AC02", "AC03", "AC04", "AC06", "AC05", "AB01", "AB02",  // 0x00
    "AB03", "AB04", "LSGT", "AB05", "AD01", "AD02", "AD03", "AD04",  // 0x08
    "AD06", "AD05", "AE01", "AE02", "AE03", "AE04", "AE06", "AE05",  // 0x10
    "AE12", "AE09", "AE07", "AE11", "AE08", "AE10", "AD12", "AD09",  // 0x18
    "AD07", "AD11", "AD08", "AD10", "RTRN", "AC09", "AC07", "AC11",  // 0x20
    "AC08", "AC10", "BKSL", "AB08", "AB10", "AB06", "AB07", "AB09",  // 0x28
    "TAB", "SPCE", "TLDE", "BKSP", "", "ESC", "RWIN", "LWIN",  // 0x30
    "LFSH", "CAPS", "LALT", "LCTL", "RTSH", "RALT", "RCTL", "",  // 0x38
    "", "KPDL", "", "KPMU", "", "KPAD", "", "NMLK",  // 0x40
    "", "", "", "KPDV", "KPEN", "", "KPSU", "",  // 0x48
    "", "", "KP0", "KP1", "KP2", "KP3", "KP4", "KP5",  // 0x50
    "KP6", "KP7", "", "KP8", "KP9", "", "", "",  // 0x58
    "FK05", "FK06", "FK07", "FK03", "FK08", "FK09", "", "FK11",  // 0x60
    "", "", "", "", "", "FK10", "", "FK12",  // 0x68
    "", "", "INS", "HOME", "PGUP", "DELE", "FK04", "END",  // 0x70
    "FK02", "PGDN", "FK01", "LEFT", "RGHT", "DOWN", "UP", "",  // 0x78
};
// clang-format on

}  // namespace

std::string_view keyPosition(KeyCode key) {
  return key < positions.size() ? positions[key] : std::string_view();
}

bool isKeypadDigit(KeyCode key) {
  constexpr KeyCode decimal = 0x41;
  constexpr KeyCode zero = 0x52;
  constexpr KeyCode nine = 0x5C;
  return key == decimal || (key >= zero && key <= nine);
}

}  // namespace vesk::keys
