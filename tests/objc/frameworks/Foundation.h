#pragma once

#import <Foundation/Foundation.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

/// How tests and the other stand-ins make and look into objects of Foundation.

@interface NSString (Vesk)
+ (nonnull NSString*)stringWithUnits:(std::u16string)units;
- (std::u16string)units;
@end

@interface NSNumber (Vesk)
+ (nonnull NSNumber*)numberOf:(std::int64_t)value;
@end

@interface NSArray (Vesk)
+ (nonnull instancetype)arrayOf:(std::vector<id>)objects;
@end

/// With that one entry.
@interface NSDictionary (Vesk)
+ (nonnull NSDictionary*)dictionaryOf:(nonnull id)value for:(nonnull id)key;
@end

@interface NSError (Vesk)
+ (nonnull NSError*)errorOf:(nonnull NSString*)description;
@end

@interface NSException (Vesk)
+ (nonnull NSException*)exceptionOf:(nonnull NSString*)reason;
@end

@interface NSNotificationCenter (Vesk)
- (void)post:(nonnull NSNotificationName)name object:(nullable id)object;
@end

namespace vesk::fakes {

/// Texts are the same by what they say, everything else by where it is.
bool isEqual(id _Nullable one, id _Nullable other);

NSString* _Nonnull text(const std::string& utf8);

/// The bundle's own, or null.
extern NSString* _Nullable bundleIdentifier;

/// How many were begun and not ended: while there is one, the process is not put to sleep.
extern std::atomic<int> activities;

}  // namespace vesk::fakes
