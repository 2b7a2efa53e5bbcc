#include <cstddef>
#include <cstring>
#include <mutex>

#include "objc/runtime/Runtime.h"

using namespace vesk::objc;

namespace {

/// One lock for all: nobody waits long.
std::mutex& propertyLock() {
  static std::mutex& only = *new std::mutex;
  return only;
}

Object** placeIn(Object* object, std::ptrdiff_t offset) {
  return reinterpret_cast<Object**>(reinterpret_cast<std::byte*>(object) + offset);
}

void set(Object* object, Object* value, std::ptrdiff_t offset) {
  Object* before = retain(value);
  {
    const std::lock_guard lock(propertyLock());
    std::swap(*placeIn(object, offset), before);
  }
  release(before);
}

void copy(void* to, const void* from, std::ptrdiff_t size) {
  const std::lock_guard lock(propertyLock());
  std::memcpy(to, from, static_cast<std::size_t>(size));
}

}  // namespace

extern "C" {

Object* objc_autorelease(Object* object);

Object* objc_getProperty(Object* object, Selector*, std::ptrdiff_t offset, bool) {
  const std::lock_guard lock(propertyLock());
  return objc_autorelease(retain(*placeIn(object, offset)));
}

void objc_setProperty_atomic(Object* object, Selector*, Object* value, std::ptrdiff_t offset) {
  set(object, value, offset);
}

/// What is copied here, blocks apart, never changes, so that it can be shared.
void objc_setProperty_atomic_copy(Object* object, Selector*, Object* value, std::ptrdiff_t offset) {
  set(object, value, offset);
}

void objc_getPropertyStruct(void* to, void* from, std::ptrdiff_t size, bool, bool) {
  copy(to, from, size);
}

void objc_setPropertyStruct(void* to, void* from, std::ptrdiff_t size, bool, bool) {
  copy(to, from, size);
}
}
