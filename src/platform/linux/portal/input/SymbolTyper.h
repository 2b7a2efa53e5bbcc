#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "platform/linux/keys/Utf16Joiner.h"
#include "platform/linux/portal/input/LayoutSymbols.h"
#include "platform/linux/portal/session/StrokeQueue.h"

namespace vesk::portal::input {

/// Types characters by their symbols: the compositor finds the key in the layout that the person
/// works with at that moment, of which it tells nobody but the window with the focus.
///
/// Thread: one at a time. Owns: a half of a pair that waits for the other one. The queue outlives
/// it. Fails: a character that the layout lacks is left out, by the compositor and without a word;
/// such are counted.
class SymbolTyper {
 public:
  explicit SymbolTyper(session::StrokeQueue& strokes) : strokes_(strokes) {}

  /// Types a run of UTF-16.
  void type(std::u16string_view run, const LayoutSymbols& layout);

  /// One character; harmless where the layout lacks it.
  void strike(char32_t character, const LayoutSymbols& layout);

  /// The text is at an end: a half of a pair that still waits belongs to nothing.
  void endText() { joiner_.reset(); }

  /// How many characters the layout has lacked since this was asked last.
  std::size_t takeLacking() { return std::exchange(lacking_, 0); }

 private:
  session::StrokeQueue& strokes_;
  keys::Utf16Joiner joiner_;
  std::size_t lacking_ = 0;
};

}  // namespace vesk::portal::input
