#include "objc/support/ObjcFixture.h"

#include <chrono>
#include <mutex>

#include "objc/dispatch/MainLoop.h"
#include "objc/frameworks/AppKit.h"
#include "objc/frameworks/Foundation.h"
#include "objc/frameworks/Media.h"
#include "objc/frameworks/ScreenCaptureKit.h"
#include "objc/runtime/Runtime.h"
#include "support/Patience.h"

extern "C" void* objc_autoreleasePoolPush();
extern "C" void objc_autoreleasePoolPop(void* pool);

namespace vesk::testing {
namespace {

void reset() {
  fakes::MainLoop::only().clear();
  fakes::WindowServer::only().reset();
  fakes::encoder().reset();
  fakes::desk().reset();
  // The program's own threads may still let go of what a viewer held.
  const std::lock_guard lock(fakes::mac::postedMutex);
  fakes::mac::system() = {};
}

}  // namespace

ObjcFixture::ObjcFixture() {
  reset();
  before_ = census();
  pool_ = objc_autoreleasePoolPush();
}

/// Other threads let go of their last objects in their own time.
ObjcFixture::~ObjcFixture() {
  objc_autoreleasePoolPop(pool_);
  reset();
  waitUntil([this] { return census() == before_; });
  EXPECT_EQ(census(), before_);
  EXPECT_EQ(fakes::activities, 0);
}

std::map<std::string, long> ObjcFixture::census() {
  auto census = objc::census();
  for (const char* const only :
       {"NSApplication", "NSBundle", "NSNotificationCenter", "NSProcessInfo", "NSRunLoop"}) {
    census.erase(only);
  }
  return census;
}

void ObjcFixture::drainPool() {
  objc_autoreleasePoolPop(pool_);
  pool_ = objc_autoreleasePoolPush();
}

bool ObjcFixture::runUntil(const std::function<bool()>& condition) {
  return runUntil(condition, std::chrono::milliseconds(patience()));
}

bool ObjcFixture::runUntil(const std::function<bool()>& condition,
                           std::chrono::milliseconds limit) {
  auto& loop = fakes::MainLoop::only();
  const auto end = std::chrono::steady_clock::now() + limit;
  // What has held once counts, whatever has become of it since.
  bool held = false;
  const auto holds = [&] { return held = held || condition(); };
  while (!holds() && std::chrono::steady_clock::now() < end) {
    constexpr std::chrono::milliseconds look(2);
    loop.run(holds, std::chrono::steady_clock::now() + look);
  }
  return held;
}

}  // namespace vesk::testing
