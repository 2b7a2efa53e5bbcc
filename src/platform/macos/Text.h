#pragma once

#import <Foundation/Foundation.h>

#include <string>

/// Text between the core, which has it in UTF-8, and the frameworks. Thread: any.
namespace vesk::mac {

/// The empty string for bytes that are not UTF-8: no framework takes nil for a text.
NSString* _Nonnull toNSString(const std::string& utf8);

/// The empty string for nil.
std::string toUtf8(NSString* _Nullable text);

}  // namespace vesk::mac
