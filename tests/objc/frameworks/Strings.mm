#include <optional>
#include <utility>

#include "objc/frameworks/Foundation.h"

namespace {

bool isContinuation(unsigned char byte) { return (byte & 0xc0) == 0x80; }

/// How many bytes the character has that begins so; zero for none.
std::size_t lengthOf(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xc2 && first < 0xe0) return 2;
  if (first >= 0xe0 && first < 0xf0) return 3;
  return first >= 0xf0 && first < 0xf5 ? 4 : 0;
}

void append(std::u16string& units, char32_t character) {
  if (character < 0x10000) return units.push_back(static_cast<char16_t>(character));
  units.push_back(static_cast<char16_t>(0xd7c0 + (character >> 10)));
  units.push_back(static_cast<char16_t>(0xdc00 + (character & 0x3ff)));
}

/// Nothing for what is not UTF-8.
std::optional<std::u16string> unitsOf(const unsigned char* bytes, std::size_t size) {
  constexpr unsigned char firstBits[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
  constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  std::u16string units;
  for (std::size_t i = 0; i < size;) {
    const std::size_t length = lengthOf(bytes[i]);
    if (length == 0 || i + length > size) return std::nullopt;
    char32_t character = bytes[i] & firstBits[length];
    for (std::size_t k = 1; k < length; ++k) {
      if (!isContinuation(bytes[i + k])) return std::nullopt;
      character = character << 6 | (bytes[i + k] & 0x3f);
    }
    const bool isSurrogate = character >= 0xd800 && character < 0xe000;
    if (character < smallest[length] || character > 0x10ffff || isSurrogate) return std::nullopt;
    append(units, character);
    i += length;
  }
  return units;
}

bool isHigh(char16_t unit) { return unit >= 0xd800 && unit < 0xdc00; }
bool isLow(char16_t unit) { return unit >= 0xdc00 && unit < 0xe000; }

std::string utf8Of(const std::u16string& units) {
  std::string bytes;
  const auto add = [&](char32_t byte) { bytes.push_back(static_cast<char>(byte)); };
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t character = units[i];
    if (isHigh(units[i]) && i + 1 < units.size()) {
      character = 0x10000 + ((character - 0xd800) << 10) + (units[++i] - 0xdc00U);
    }
    if (character < 0x80) {
      add(character);
    } else if (character < 0x800) {
      add(0xc0 | character >> 6);
      add(0x80 | (character & 0x3f));
    } else {
      if (character < 0x10000) {
        add(0xe0 | character >> 12);
      } else {
        add(0xf0 | character >> 18);
        add(0x80 | (character >> 12 & 0x3f));
      }
      add(0x80 | (character >> 6 & 0x3f));
      add(0x80 | (character & 0x3f));
    }
  }
  return bytes;
}

bool isSpace(char16_t unit) {
  return unit == u' ' || (unit >= 9 && unit <= 13) || unit == 0x85 || unit == 0xa0 ||
         unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200b) || unit == 0x2028 || unit == 0x2029 ||
         unit == 0x202f || unit == 0x205f || unit == 0x3000;
}

}  // namespace

/// Bytes that live as long as the pool that they were made in.
@interface VeskBytes : NSObject
@end
@implementation VeskBytes {
 @public
  std::string bytes_;
}
@end

@implementation NSCharacterSet
+ (NSCharacterSet*)whitespaceAndNewlineCharacterSet {
  return [NSCharacterSet new];
}
@end

@implementation NSString {
  std::u16string units_;
}

- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)length
                     encoding:(NSUInteger)encoding {
  self = [super init];
  auto units = unitsOf(static_cast<const unsigned char*>(bytes), length);
  if (!units || encoding != NSUTF8StringEncoding) return nil;
  units_ = *std::move(units);
  return self;
}

+ (NSString*)stringWithUnits:(std::u16string)units {
  NSString* const made = [NSString new];
  made->units_ = std::move(units);
  return made;
}

- (std::u16string)units {
  return units_;
}

- (NSUInteger)length {
  return [self units].size();
}

- (unichar)characterAtIndex:(NSUInteger)index {
  return [self units].at(index);
}

- (const char*)UTF8String {
  __autoreleasing VeskBytes* const holder = [VeskBytes new];
  holder->bytes_ = utf8Of([self units]);
  return holder->bytes_.c_str();
}

- (NSString*)stringByAppendingString:(NSString*)text {
  return [NSString stringWithUnits:[self units] + [text units]];
}

- (NSString*)substringFromIndex:(NSUInteger)from {
  return [NSString stringWithUnits:[self units].substr(from)];
}

- (NSString*)substringToIndex:(NSUInteger)to {
  return [NSString stringWithUnits:[self units].substr(0, to)];
}

/// Knows of surrogates, accents on their own and variation selectors; the system of much more.
- (NSRange)rangeOfComposedCharacterSequenceAtIndex:(NSUInteger)index {
  const auto units = [self units];
  const auto startOf = [&](NSUInteger i) {
    return i > 0 && isLow(units.at(i)) && isHigh(units[i - 1]) ? i - 1 : i;
  };
  const auto isAccent = [&](NSUInteger i) {
    return (units[i] >= 0x300 && units[i] <= 0x36f) || units[i] == 0xdb40;
  };
  NSUInteger begin = startOf(index);
  while (begin > 0 && isAccent(begin)) begin = startOf(begin - 1);
  NSUInteger end = begin;
  do end += isHigh(units[end]) ? 2UL : 1UL;
  while (end < units.size() && isAccent(end));
  return {begin, end - begin};
}

- (NSArray<NSString*>*)componentsSeparatedByCharactersInSet:(NSCharacterSet*)separators {
  std::vector<id> parts;
  std::u16string part;
  for (const char16_t unit : [self units]) {
    if (!isSpace(unit)) {
      part.push_back(unit);
      continue;
    }
    parts.push_back([NSString stringWithUnits:std::exchange(part, {})]);
  }
  parts.push_back([NSString stringWithUnits:part]);
  return [NSArray arrayOf:parts];
}
@end

/// A text that the compiler has written into the program.
@implementation NSConstantString
- (std::u16string)units {
  struct Layout {
    void* isa;
    unsigned kind;  ///< 0 for ASCII, 2 for code units
    unsigned length;
    unsigned bytes;
    unsigned hash;
    const void* data;
  };
  const auto& text = *(__bridge const Layout*)self;
  if (text.kind == 2) return {static_cast<const char16_t*>(text.data), text.length};
  const auto* const ascii = static_cast<const char*>(text.data);
  return {ascii, ascii + text.length};
}
@end

/// A text of up to eight ASCII characters that the compiler has written into the reference itself.
@interface VeskTaggedString : NSString
@end
@implementation VeskTaggedString
- (std::u16string)units {
  const auto bits = reinterpret_cast<std::uintptr_t>((__bridge const void*)self);
  std::u16string units(bits >> 3 & 0xf, 0);
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<char16_t>(bits >> (57 - i * 7) & 0x7f);
  }
  return units;
}
@end

namespace vesk::fakes {

NSString* text(const std::string& utf8) {
  NSString* const made = [[NSString alloc] initWithBytes:utf8.data()
                                                  length:utf8.size()
                                                encoding:NSUTF8StringEncoding];
  return static_cast<NSString* _Nonnull>(made);
}

bool isEqual(id one, id other) {
  const bool areTexts =
      [one isKindOfClass:[NSString class]] && [other isKindOfClass:[NSString class]];
  if (!areTexts) return one == other;
  return [static_cast<NSString*>(one) units] == [static_cast<NSString*>(other) units];
}

}  // namespace vesk::fakes
