#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "platform/Events.h"

/// Which key of the Mac's ANSI layout stands where a Windows virtual-key code names one. Keys keep
/// their position; what a position types is up to the person's own layout.
/// Thread: any; the tables are constants. Fails: as no key.
namespace vesk::KeyMap {

/// The letters A to Z, Windows codes 0x41 to 0x5A.
inline constexpr std::array<KeyCode, 26> letters{
    0x00, 0x0B, 0x08, 0x02, 0x0E, 0x03, 0x05, 0x04, 0x22, 0x26, 0x28, 0x25, 0x2E,
    0x2D, 0x1F, 0x23, 0x0C, 0x0F, 0x01, 0x11, 0x20, 0x09, 0x0D, 0x07, 0x10, 0x06};

/// The digits 0 to 9 above the letters, Windows codes 0x30 to 0x39.
inline constexpr std::array<KeyCode, 10> digits{0x1D, 0x12, 0x13, 0x14, 0x15,
                                                0x17, 0x16, 0x1A, 0x1C, 0x19};

struct NamedKey {
  std::int64_t windowsVirtualKey;
  KeyCode macKey;
};

/// Every other key, by ascending Windows code.
inline constexpr std::array<NamedKey, 67> named{{
    {0x08, 0x33},  // Backspace
    {0x09, 0x30},  // Tab
    {0x0D, 0x24},  // Enter
    {0x10, 0x38},  // Shift
    {0x11, 0x3B},  // Control
    {0x12, 0x3A},  // Alt
    {0x14, 0x39},  // Caps Lock
    {0x1B, 0x35},  // Escape
    {0x20, 0x31},  // Space
    {0x21, 0x74},  // Page Up
    {0x22, 0x79},  // Page Down
    {0x23, 0x77},  // End
    {0x24, 0x73},  // Home
    {0x25, 0x7B},  // Left
    {0x26, 0x7E},  // Up
    {0x27, 0x7C},  // Right
    {0x28, 0x7D},  // Down
    {0x2D, 0x72},  // Insert, where a Mac keyboard has Help
    {0x2E, 0x75},  // Delete
    {0x5B, 0x37},  // left Windows: Command
    {0x5C, 0x36},  // right Windows: right Command
    {0x60, 0x52},  // keypad 0
    {0x61, 0x53},  // keypad 1
    {0x62, 0x54},  // keypad 2
    {0x63, 0x55},  // keypad 3
    {0x64, 0x56},  // keypad 4
    {0x65, 0x57},  // keypad 5
    {0x66, 0x58},  // keypad 6
    {0x67, 0x59},  // keypad 7
    {0x68, 0x5B},  // keypad 8; 0x5A is no key of the keypad
    {0x69, 0x5C},  // keypad 9
    {0x6A, 0x43},  // keypad *
    {0x6B, 0x45},  // keypad +
    {0x6D, 0x4E},  // keypad -
    {0x6E, 0x41},  // keypad decimal
    {0x6F, 0x4B},  // keypad /
    {0x70, 0x7A},  // F1
    {0x71, 0x78},  // F2
    {0x72, 0x63},  // F3
    {0x73, 0x76},  // F4
    {0x74, 0x60},  // F5
    {0x75, 0x61},  // F6
    {0x76, 0x62},  // F7
    {0x77, 0x64},  // F8
    {0x78, 0x65},  // F9
    {0x79, 0x6D},  // F10
    {0x7A, 0x67},  // F11
    {0x7B, 0x6F},  // F12
    {0x90, 0x47},  // Num Lock, where a Mac keypad has Clear
    {0xA0, 0x38},  // left Shift
    {0xA1, 0x3C},  // right Shift
    {0xA2, 0x3B},  // left Control
    {0xA3, 0x3E},  // right Control
    {0xA4, 0x3A},  // left Alt: Option
    {0xA5, 0x3D},  // right Alt: right Option
    {0xBA, 0x29},  // ;
    {0xBB, 0x18},  // =
    {0xBC, 0x2B},  // ,
    {0xBD, 0x1B},  // -
    {0xBE, 0x2F},  // .
    {0xBF, 0x2C},  // /
    {0xC0, 0x32},  // `
    {0xDB, 0x21},  // [
    {0xDC, 0x2A},  // backslash
    {0xDD, 0x1E},  // ]
    {0xDE, 0x27},  // '
    {0xE2, 0x0A},  // the extra key of the ISO layout
}};

/// The Mac key for a Windows virtual-key code. `extended` tells the keypad's Enter from the other
/// one; it means nothing to any other key.
std::optional<KeyCode> macKey(std::int64_t windowsVirtualKey, bool extended);

/// The flag that a modifier key sets while it is down; nothing for every other key. The two keys of
/// a pair share one flag, and Caps Lock counts as held while it is down.
std::optional<EventFlags> modifierFlag(KeyCode key);

}  // namespace vesk::KeyMap
