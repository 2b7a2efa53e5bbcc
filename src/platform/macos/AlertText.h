#pragma once

#import <Foundation/Foundation.h>

#include <string>

/// How text from outside is made fit for an alert. Thread: any.
namespace vesk::mac {

/// One paragraph: every run of white space, line breaks included, becomes one space. What is too
/// long for a window that fits every screen loses whole characters from its middle, and of one that
/// is itself too long a part; the end stays: it is what says what is asked.
NSString* _Nonnull elidedParagraph(const std::string& text);

}  // namespace vesk::mac
