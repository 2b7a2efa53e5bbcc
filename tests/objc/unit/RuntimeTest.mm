#include "objc/runtime/Runtime.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "objc/frameworks/Foundation.h"
#include "objc/support/ObjcFixture.h"

/// What the Mac's sources rely on of the language, on the runtime that the tests bring along.

@interface RuntimeBase : NSObject {
  int base_;
}
@property(nullable, copy) NSString* name;
@property double number;
@property CGRect rect;
@property(nullable, weak) id other;
@property(nullable, copy) int (^block)(int);
+ (int)kind;
- (int)answer;
- (int)answerTwice;
@end

@interface RuntimeDerived : RuntimeBase
- (instancetype)initWithHeld:(std::shared_ptr<int>)held;
@end

@interface RuntimeBase (More)
- (int)more;
@end

@implementation RuntimeBase
+ (int)kind {
  return 1;
}
- (instancetype)init {
  self = [super init];
  base_ = 20;
  return self;
}
- (int)answer {
  return base_;
}
- (int)answerTwice {
  return 2 * [self answer];
}
@end

@implementation RuntimeBase (More)
- (int)more {
  return base_ + 1;
}
@end

@implementation RuntimeDerived {
  std::shared_ptr<int> held_;
  std::string text_;
}
+ (int)kind {
  return [super kind] + 1;
}
- (instancetype)initWithHeld:(std::shared_ptr<int>)held {
  self = [super init];
  held_ = std::move(held);
  text_ = "a text that is too long to be kept in place";
  return self;
}
- (int)answer {
  return [super answer] + *held_;
}
- (void)dealloc {
  // Handed around on its way out it is neither kept nor ended twice.
  RuntimeDerived* const myself = self;
  *held_ = [myself answerTwice];
}
@end

namespace vesk::objc {
namespace {

using ObjcMessageTest = testing::ObjcFixture;
using ObjcMessageDeathTest = testing::ObjcFixture;
using ObjcPropertyTest = testing::ObjcFixture;
using ObjcReferenceTest = testing::ObjcFixture;
using ObjcBlockTest = testing::ObjcFixture;
using ObjcExceptionTest = testing::ObjcFixture;

TEST_F(ObjcMessageTest, ReachesTheClassItsCategoriesAndTheClassAbove) {
  RuntimeDerived* const derived = [[RuntimeDerived alloc] initWithHeld:std::make_shared<int>(1)];
  EXPECT_EQ([derived answer], 21);
  EXPECT_EQ([derived answerTwice], 42);
  EXPECT_EQ([derived more], 21);
  EXPECT_EQ([RuntimeDerived kind], 2);
  EXPECT_TRUE([derived isKindOfClass:[RuntimeBase class]]);
  EXPECT_FALSE([[RuntimeBase new] isKindOfClass:[RuntimeDerived class]]);
}

TEST_F(ObjcMessageTest, IsAnsweredByNothingWhereThereIsNoObject) {
  RuntimeBase* const none = nil;
  EXPECT_EQ([none answer], 0);
  EXPECT_EQ(none.number, 0.0);
  EXPECT_EQ(none.rect.size.width, 0.0);
  EXPECT_TRUE(none.name == nil);
}

TEST_F(ObjcMessageDeathTest, EndsTheProcessWhereNobodyAnswers) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const id text = @"a longer text";
  EXPECT_DEATH([static_cast<RuntimeBase*>(text) answerTwice], "NSConstantString answerTwice");
}

TEST_F(ObjcPropertyTest, KeepsObjectsNumbersAndStructures) {
  RuntimeBase* const object = [RuntimeBase new];
  object.name = @"a name";
  object.number = 2.5;
  object.rect = CGRectMake(1, 2, 3, 4);
  EXPECT_STREQ(object.name.UTF8String, "a name");
  EXPECT_EQ(object.number, 2.5);
  EXPECT_EQ(object.rect.origin.y, 2);
  EXPECT_EQ(object.rect.size.height, 4);
}

TEST_F(ObjcReferenceTest, EndsAnObjectWithItsLastOne) {
  const auto held = std::make_shared<int>(1);
  @autoreleasepool {
    RuntimeDerived* first = [[RuntimeDerived alloc] initWithHeld:held];
    RuntimeDerived* const second = first;
    first = nil;
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_EQ(aliveOf("RuntimeDerived"), 1);
    EXPECT_EQ([second answer], 21);
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(*held, 42);
  EXPECT_EQ(aliveOf("RuntimeDerived"), 0);
}

TEST_F(ObjcReferenceTest, WaitsForTheEndOfThePool) {
  @autoreleasepool {
    const auto before = waitingInPools();
    @autoreleasepool {
      const char* const text = fakes::text("lent out").UTF8String;
      EXPECT_STREQ(text, "lent out");
      EXPECT_EQ(aliveOf("VeskBytes"), 1);
      EXPECT_GT(waitingInPools(), before);
    }
    EXPECT_EQ(aliveOf("VeskBytes"), 0);
    EXPECT_EQ(waitingInPools(), before);
  }
}

TEST_F(ObjcReferenceTest, IsForgottenByWeakOnes) {
  RuntimeBase* const watcher = [RuntimeBase new];
  __weak RuntimeBase* weak = nil;
  @autoreleasepool {
    RuntimeBase* const object = [RuntimeBase new];
    weak = object;
    watcher.other = object;
    EXPECT_TRUE(watcher.other == object);
    EXPECT_TRUE(weak == object);
  }
  EXPECT_TRUE(watcher.other == nil);
  EXPECT_TRUE(weak == nil);
}

TEST_F(ObjcReferenceTest, IsReadWhileAnotherThreadLetsGoOfTheLast) {
  for (int i = 0; i < 200; ++i) {
    RuntimeBase* object = [RuntimeBase new];
    __weak RuntimeBase* const weak = object;
    std::atomic<bool> go = false;
    std::thread other([&] {
      while (!go) std::this_thread::yield();
      object = nil;
    });
    go = true;
    @autoreleasepool {
      RuntimeBase* const seen = weak;
      EXPECT_TRUE(seen == nil || [seen answer] == 20);
    }
    other.join();
    EXPECT_TRUE(weak == nil);
  }
}

TEST_F(ObjcBlockTest, HoldsWhatItCaptures) {
  const auto held = std::make_shared<int>(5);
  int (^copy)(int) = nil;
  @autoreleasepool {
    RuntimeBase* const object = [RuntimeBase new];
    copy = ^(int more) {
      return [object answer] + *held + more;
    };
  }
  EXPECT_EQ(held.use_count(), 2);
  EXPECT_EQ(copy(1), 26);
  EXPECT_EQ(aliveOf("RuntimeBase"), 1);
  copy = nil;
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(aliveOf("RuntimeBase"), 0);
}

TEST_F(ObjcBlockTest, SharesItsVariables) {
  __block int count = 0;
  __block RuntimeBase* object = nil;
  RuntimeBase* const holder = [RuntimeBase new];
  holder.block = ^(int more) {
    object = [RuntimeBase new];
    return count += more;
  };
  const auto again = holder.block;
  EXPECT_EQ(again(2), 2);
  count += 10;
  EXPECT_EQ(again(3), 15);
  EXPECT_EQ([object answer], 20);
}

TEST_F(ObjcBlockTest, KnowsAnObjectWeakly) {
  __weak RuntimeBase* weak = nil;
  int (^copy)(int) = nil;
  @autoreleasepool {
    RuntimeBase* const object = [RuntimeBase new];
    weak = object;
    copy = ^(int more) {
      return [weak answer] + more;
    };
    EXPECT_EQ(copy(1), 21);
  }
  EXPECT_EQ(copy(1), 1);
}

int caught(void (^action)()) {
  @try {
    action();
  } @catch (NSException* exception) {
    return 1;
  } @catch (id object) {
    return 2;
  }
  return 0;
}

TEST_F(ObjcExceptionTest, IsCaughtByItsClass) {
  EXPECT_EQ(caught(^{
            }),
            0);
  EXPECT_EQ(caught(^{
              @throw [NSException exceptionOf:@"one"];
            }),
            1);
  EXPECT_EQ(caught(^{
              @throw [RuntimeBase new];
            }),
            2);
}

TEST_F(ObjcExceptionTest, LetsTheOtherLanguagesPass) {
  EXPECT_THROW(caught(^{
                 throw std::runtime_error("one");
               }),
               std::runtime_error);
}

TEST_F(ObjcExceptionTest, LetsGoOfWhatIsOnItsWay) {
  const auto held = std::make_shared<int>(1);
  EXPECT_EQ(caught(^{
              const auto here = held;
              RuntimeBase* const object = [RuntimeBase new];
              @throw [NSException exceptionOf:object.name == nil ? @"one" : @"other"];
            }),
            1);
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(aliveOf("RuntimeBase"), 0);
}

TEST_F(ObjcExceptionTest, IsThrownOnByACatch) {
  NSString* reason = nil;
  @try {
    @try {
      @throw [NSException exceptionOf:@"a reason"];
    } @catch (NSException* exception) {
      @throw;
    }
  } @catch (NSException* exception) {
    reason = exception.reason;
  }
  EXPECT_STREQ(reason.UTF8String, "a reason");
}

}  // namespace
}  // namespace vesk::objc
