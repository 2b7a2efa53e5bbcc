#import <Foundation/Foundation.h>

#include "objc/runtime/Runtime.h"

namespace {

using vesk::objc::Object;

Object* asObject(id object) { return reinterpret_cast<Object*>(object); }
vesk::objc::Class* asClass(Class of) { return reinterpret_cast<vesk::objc::Class*>(of); }

}  // namespace

// Below counted references, so that it is compiled without them.
@implementation NSObject

+ (instancetype)alloc {
  return reinterpret_cast<id>(vesk::objc::makeObject(asClass(self)));
}

+ (instancetype)new {
  return [[self alloc] init];
}

+ (Class)class {
  return self;
}

- (instancetype)init {
  return self;
}

- (void)dealloc {
  vesk::objc::destroyObject(asObject(self));
}

- (Class)class {
  return reinterpret_cast<Class>(vesk::objc::classOf(asObject(self)));
}

- (BOOL)isKindOfClass:(Class)kind {
  return vesk::objc::isKind(vesk::objc::classOf(asObject(self)), asClass(kind));
}

@end
