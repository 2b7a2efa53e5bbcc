#include "text/CharacterStarts.h"

#include "text/characterTables.h"

namespace vesk {

bool CharacterStarts::startsCharacter(char32_t next) {
  const Class kind = classOf(next);
  const bool joined = isJoined(kind);
  joinsPicture_ = inPicture_ && kind == Class::joiner;
  inPicture_ = kind == Class::pictographic || (inPicture_ && kind == Class::extend);
  halfOfAFlag_ = kind == Class::regionalIndicator && !halfOfAFlag_;
  before_ = kind;
  return !joined;
}

/// In the order in which the rules take precedence.
bool CharacterStarts::isJoined(Class next) const {
  const auto breaksOff = [](Class each) {
    return each == Class::none || each == Class::control || each == Class::carriageReturn ||
           each == Class::lineFeed;
  };
  if (before_ == Class::carriageReturn && next == Class::lineFeed) return true;
  if (breaksOff(before_) || breaksOff(next)) return false;
  if (isHangulContinued(before_, next)) return true;
  if (next == Class::extend || next == Class::joiner || next == Class::spacingMark) return true;
  if (before_ == Class::prepend) return true;
  if (joinsPicture_ && next == Class::pictographic) return true;
  return halfOfAFlag_ && next == Class::regionalIndicator;
}

bool CharacterStarts::isHangulContinued(Class before, Class next) {
  switch (before) {
    case Class::hangulL:
      return next == Class::hangulL || next == Class::hangulV || next == Class::hangulLV ||
             next == Class::hangulLVT;
    case Class::hangulLV:
    case Class::hangulV:
      return next == Class::hangulV || next == Class::hangulT;
    case Class::hangulLVT:
    case Class::hangulT:
      return next == Class::hangulT;
    default:
      return false;
  }
}

CharacterStarts::Class CharacterStarts::classOf(char32_t codePoint) {
  using namespace characterTables;
  constexpr char32_t trailingConsonants = 28;  // one of them being none
  if (codePoint == '\r') return Class::carriageReturn;
  if (codePoint == '\n') return Class::lineFeed;
  if (0x20 <= codePoint && codePoint < 0x7f) return Class::other;
  if (codePoint == 0x200d) return Class::joiner;
  if (0xac00 <= codePoint && codePoint <= 0xd7a3) {
    return (codePoint - 0xac00) % trailingConsonants == 0 ? Class::hangulLV : Class::hangulLVT;
  }
  if (0x1f1e6 <= codePoint && codePoint <= 0x1f1ff) return Class::regionalIndicator;
  if (isIn(control, codePoint)) return Class::control;
  if (isIn(extend, codePoint)) return Class::extend;
  if (isIn(spacingMark, codePoint)) return Class::spacingMark;
  if (isIn(prepend, codePoint)) return Class::prepend;
  if (isIn(hangulL, codePoint)) return Class::hangulL;
  if (isIn(hangulV, codePoint)) return Class::hangulV;
  if (isIn(hangulT, codePoint)) return Class::hangulT;
  return isIn(pictographic, codePoint) ? Class::pictographic : Class::other;
}

}  // namespace vesk
