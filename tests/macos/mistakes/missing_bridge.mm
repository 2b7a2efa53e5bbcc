// refused: cannot initialize return object of type 'NSString *' with an lvalue of type 'CFStringRef'
#import <Foundation/Foundation.h>

NSString* textOf(CFStringRef text) {
#ifdef MISTAKE
  return text;
#else
  return (__bridge NSString*)text;
#endif
}
