#pragma once

// Of the Objective-C runtime, whose headers leave it to the compiler.
extern "C" {
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* pool);
}

namespace vesk::mac {

/// What `@autoreleasepool` is, for files that are C++ alone: what frameworks autorelease within
/// this object's life is gone at the end of it. Thread: the one that made it.
class AutoreleasePool {
 public:
  AutoreleasePool() : pool_(objc_autoreleasePoolPush()) {}
  ~AutoreleasePool() { objc_autoreleasePoolPop(pool_); }
  AutoreleasePool(const AutoreleasePool&) = delete;
  AutoreleasePool& operator=(const AutoreleasePool&) = delete;

 private:
  void* pool_;
};

}  // namespace vesk::mac
