#include "platform/macos/MacScreenCapture.h"

#include <gtest/gtest.h>

#include "objc/frameworks/ScreenCaptureKit.h"
#include "objc/support/ObjcFixture.h"
#include "platform/macos/NativeObject.h"

namespace vesk::mac {
namespace {

class MacScreenCaptureTest : public testing::ObjcFixture {
 protected:
  /// What the one completion said.
  struct Answer {
    int count = 0;
    std::optional<ShareableContent> content;
    std::optional<PlatformError> error;
  };

  std::shared_ptr<Answer> ask() {
    auto answer = std::make_shared<Answer>();
    {
      // Gone before the answer comes.
      MacScreenCapture capture;
      capture.shareableContent([answer](auto content, auto error) {
        ++answer->count;
        answer->content = std::move(content);
        answer->error = std::move(error);
      });
    }
    server_.settle();
    EXPECT_EQ(answer->count, 1);
    return answer;
  }

  fakes::WindowServer& server_ = fakes::WindowServer::only();
};

TEST_F(MacScreenCaptureTest, TellsOfDisplaysAndApplications) {
  server_.displays = {{7, 1920, 1080}, {9, 800, 600}};
  server_.applications = {100, 200};
  const auto answer = ask();
  ASSERT_TRUE(answer->content);
  ASSERT_EQ(answer->content->displays.size(), 2U);
  EXPECT_EQ(answer->content->displays[1].displayID, 9U);
  EXPECT_EQ(answer->content->displays[1].width, 800);
  EXPECT_EQ(answer->content->displays[1].height, 600);
  ASSERT_EQ(answer->content->applications.size(), 2U);
  EXPECT_EQ(answer->content->applications[1].processID, 200);
  EXPECT_FALSE(answer->error);
}

TEST_F(MacScreenCaptureTest, AsksForWhatIsOnTheScreenDesktopIncluded) {
  ask();
  EXPECT_EQ(server_.excludesDesktopWindows, false);
  EXPECT_EQ(server_.onScreenWindowsOnly, true);
}

TEST_F(MacScreenCaptureTest, GivesTheSystemsObjectsAlong) {
  const auto answer = ask();
  const auto display = answer->content->displays.at(0).native;
  answer->content.reset();
  auto* const again = nativeObject<SCDisplay>(display);
  EXPECT_EQ(again.displayID, 7U);
  EXPECT_TRUE(nativeObject<SCRunningApplication>(display) == nil);
}

TEST_F(MacScreenCaptureTest, TellsWhyThereIsNoContent) {
  server_.refusesContent = "the person has said no";
  EXPECT_EQ(ask()->error, PlatformError{"the person has said no"});
  server_.refusesContent.reset();
  server_.answersNothing = true;
  EXPECT_EQ(ask()->error, PlatformError{"The display cannot be captured."});
}

TEST_F(MacScreenCaptureTest, TellsOfAnExceptionAsOfAnError) {
  server_.throws = "no window server";
  EXPECT_EQ(ask()->error, PlatformError{"no window server"});
}

TEST_F(MacScreenCaptureTest, AnswersOnceWhereAnExceptionFollows) {
  server_.throwsAfterwards = "thrown";
  for (const bool isAnsweredFirst : {false, true}) {
    server_.holdsAnswersBack = !isAnsweredFirst;
    int answers = 0;
    std::optional<PlatformError> why;
    MacScreenCapture().shareableContent([&](auto, auto error) {
      ++answers;
      why = std::move(error);
    });
    server_.answer();
    server_.settle();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(why.has_value(), !isAnsweredFirst);
  }
}

TEST_F(MacScreenCaptureTest, MayBeAnsweredLate) {
  server_.holdsAnswersBack = true;
  std::optional<ShareableContent> found;
  MacScreenCapture().shareableContent([&](auto content, auto) { found = std::move(content); });
  EXPECT_FALSE(found);
  server_.answer();
  server_.settle();
  EXPECT_TRUE(found);
}

}  // namespace
}  // namespace vesk::mac
