#include <algorithm>
#include <utility>

#include "objc/frameworks/Foundation.h"

/// Collections hold their elements; they are gone through without copies, a change meanwhile is an
/// error of the program's.

@implementation NSArray {
 @protected
  std::vector<id> elements_;
  unsigned long changes_;
}

+ (instancetype)array {
  return [self new];
}

+ (instancetype)arrayOf:(std::vector<id>)objects {
  NSArray* const made = [self new];
  made->elements_ = std::move(objects);
  return made;
}

+ (instancetype)arrayWithObjects:(const id _Nonnull[_Nonnull])objects count:(NSUInteger)count {
  return [self arrayOf:std::vector<id>(objects, objects + count)];
}

- (id)firstObject {
  return elements_.empty() ? nil : elements_.front();
}

- (NSString*)componentsJoinedByString:(NSString*)separator {
  std::u16string joined;
  for (std::size_t i = 0; i < elements_.size(); ++i) {
    if (i > 0) joined += [separator units];
    joined += [static_cast<NSString*>(elements_[i]) units];
  }
  return [NSString stringWithUnits:joined];
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(__unsafe_unretained id[])buffer
                                    count:(NSUInteger)count {
  const std::size_t given = std::min<std::size_t>(count, elements_.size() - state->state);
  for (std::size_t i = 0; i < given; ++i) buffer[i] = elements_[state->state + i];
  state->state += given;
  state->itemsPtr = buffer;
  state->mutationsPtr = &changes_;
  return given;
}
@end

@implementation NSMutableArray
- (void)addObject:(id)object {
  elements_.push_back(object);
  ++changes_;
}
@end

@implementation NSDictionary {
  std::vector<std::pair<id, id>> entries_;
}

+ (NSDictionary*)dictionaryOf:(id)value for:(id)key {
  NSDictionary* const made = [NSDictionary new];
  made->entries_.emplace_back(key, value);
  return made;
}

- (id)objectForKeyedSubscript:(id)key {
  for (const auto& [name, value] : entries_) {
    if (vesk::fakes::isEqual(name, key)) return value;
  }
  return nil;
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(__unsafe_unretained id[])buffer
                                    count:(NSUInteger)count {
  return 0;
}
@end
