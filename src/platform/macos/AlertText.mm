#include "platform/macos/AlertText.h"

#include "platform/macos/Text.h"

namespace vesk::mac {
namespace {

/// In code units; about a dozen lines of an alert in the widest letters.
constexpr NSUInteger longest = 200;
constexpr NSUInteger keptAtTheEnd = 40;

NSString* _Nonnull paragraph(NSString* _Nonnull text) {
  NSMutableArray<NSString*>* const words = [NSMutableArray array];
  NSCharacterSet* const space = NSCharacterSet.whitespaceAndNewlineCharacterSet;
  for (NSString* word in [text componentsSeparatedByCharactersInSet:space]) {
    if (word.length > 0) [words addObject:word];
  }
  return [words componentsJoinedByString:@" "];
}

bool isLowSurrogate(unichar unit) { return unit >= 0xdc00 && unit <= 0xdfff; }

/// Where the character at `index`, as a person counts characters, begins. One that has no end,
/// being a letter under hundreds of accents, is cut where it is: the text around it counts for
/// more.
NSUInteger cutBefore(NSString* _Nonnull text, NSUInteger index) {
  constexpr NSUInteger longestCharacter = 32;
  const NSUInteger start = [text rangeOfComposedCharacterSequenceAtIndex:index].location;
  if (index - start <= longestCharacter) return start;
  return isLowSurrogate([text characterAtIndex:index]) ? index - 1 : index;
}

}  // namespace

NSString* elidedParagraph(const std::string& text) {
  NSString* const whole = paragraph(toNSString(text));
  if (whole.length <= longest) return whole;
  const NSUInteger end = cutBefore(whole, whole.length - keptAtTheEnd);
  const NSUInteger begin = cutBefore(whole, longest - (whole.length - end));
  NSString* const beginning = [whole substringToIndex:begin];
  return [[beginning stringByAppendingString:@"…"]
      stringByAppendingString:[whole substringFromIndex:end]];
}

}  // namespace vesk::mac
