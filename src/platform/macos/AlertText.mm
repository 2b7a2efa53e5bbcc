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

/// Where the character at `index`, as a person counts characters, begins.
NSUInteger characterStart(NSString* _Nonnull text, NSUInteger index) {
  return [text rangeOfComposedCharacterSequenceAtIndex:index].location;
}

}  // namespace

NSString* elidedParagraph(const std::string& text) {
  NSString* const whole = paragraph(toNSString(text));
  if (whole.length <= longest) return whole;
  const NSUInteger begin = characterStart(whole, longest - keptAtTheEnd);
  const NSUInteger end = characterStart(whole, whole.length - keptAtTheEnd);
  NSString* const beginning = [whole substringToIndex:begin];
  return [[beginning stringByAppendingString:@"…"]
      stringByAppendingString:[whole substringFromIndex:end]];
}

}  // namespace vesk::mac
