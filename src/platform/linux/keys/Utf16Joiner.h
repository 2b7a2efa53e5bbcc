#pragma once

#include <string>
#include <string_view>

namespace vesk::keys {

/// Makes characters of UTF-16 that comes in runs cut anywhere. Thread: one at a time. Fails: a half
/// of a pair whose other half does not follow is dropped.
class Utf16Joiner {
 public:
  /// The characters that are complete with this run.
  std::u32string join(std::u16string_view run);

  /// Forgets a half that waits for the other one.
  void reset() { high_ = 0; }

 private:
  char16_t high_ = 0;
};

}  // namespace vesk::keys
