#pragma once

namespace vesk {

/// Finds where one character ends and the next begins, as a reader counts them: the extended
/// grapheme clusters of Unicode. Is told the code points of a text one after the other.
/// Thread: one at a time. Fails: never.
class CharacterStarts {
 public:
  /// Whether `next`, which follows what was told before, begins a character.
  bool startsCharacter(char32_t next);

 private:
  enum class Class {
    none,  ///< before the text
    other,
    carriageReturn,
    lineFeed,
    control,
    extend,
    joiner,
    regionalIndicator,
    prepend,
    spacingMark,
    hangulL,
    hangulV,
    hangulT,
    hangulLV,
    hangulLVT,
    pictographic,
  };

  static Class classOf(char32_t codePoint);
  static bool isHangulContinued(Class before, Class next);
  bool isJoined(Class next) const;

  Class before_ = Class::none;
  bool inPicture_ = false;     ///< a picture, and nothing but what extends it since
  bool joinsPicture_ = false;  ///< a joiner right behind such
  bool halfOfAFlag_ = false;   ///< an odd number of regional indicators
};

}  // namespace vesk
