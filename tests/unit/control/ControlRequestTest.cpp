#include "control/ControlRequest.h"

#include <gtest/gtest.h>

#include <string_view>

namespace vesk::VESK_FILE {
namespace {

std::optional<ControlRequest> request(std::string_view text) {
  return controlRequest(Message::parse(std::as_bytes(std::span(text))).value());
}

template <typename Request>
Request requestOf(std::string_view text) {
  return std::get<Request>(request(text).value());
}

TEST(ControlRequestTest, IsNothingWithoutAKnownOp) {
  for (const auto* text : {"{}", R"({"type":"start"})", R"({"op":"Start"})", R"({"op":"START"})",
                           R"({"op":""})", R"({"op":1})", R"({"op":true})", R"({"op":null})",
                           R"({"op":["start"]})", R"({"op":{"op":"start"}})", R"({"op":"start "})",
                           R"({"op":"hello"})", R"({"op":"started"})", R"({"op":"start\u0000"})"}) {
    EXPECT_FALSE(request(text)) << text;
  }
}

TEST(ControlRequestTest, IgnoresMembersThatItDoesNotKnow) {
  EXPECT_TRUE(std::holds_alternative<StopRequest>(*request(R"({"op":"stop","x":1,"y":[{}]})")));
  EXPECT_TRUE(std::holds_alternative<KeyframeRequest>(*request(R"({"op":"keyframe"})")));
}

TEST(StartRequestTest, HasDefaults) {
  const auto start = requestOf<StartRequest>(R"({"op":"start"})");
  EXPECT_EQ(start.viewer, "");
  EXPECT_FALSE(start.input);
  EXPECT_FALSE(start.consent);
  EXPECT_EQ(start.fps, 30);
  EXPECT_EQ(start.bitrateKbps, 4000);
  EXPECT_EQ(start.banner, Banner::Style());
}

TEST(StartRequestTest, ReadsEveryMember) {
  const auto start = requestOf<StartRequest>(
      R"({"op":"start","viewer":"Anna","input":true,"consent":true,"fps":60,)"
      R"("bitrateKbps":2500,"banner":{"strip":50}})");
  EXPECT_EQ(start.viewer, "Anna");
  EXPECT_TRUE(start.input);
  EXPECT_TRUE(start.consent);
  EXPECT_EQ(start.fps, 60);
  EXPECT_EQ(start.bitrateKbps, 2500);
  EXPECT_EQ(start.banner.stripOpacity, 50);
}

TEST(StartRequestTest, TakesNumbersWithAnIntegralValueAndBooleanNumbers) {
  const auto start = requestOf<StartRequest>(
      R"({"op":"start","input":1,"consent":1.0,"fps":25.0,"bitrateKbps":true})");
  EXPECT_TRUE(start.input);
  EXPECT_TRUE(start.consent);
  EXPECT_EQ(start.fps, 25);
  EXPECT_EQ(start.bitrateKbps, 1);
}

TEST(StartRequestTest, TakesTheDefaultForAMemberOfAnotherType) {
  const auto start = requestOf<StartRequest>(
      R"({"op":"start","viewer":7,"input":"true","consent":"true","fps":12.5,)"
      R"("bitrateKbps":"2500","banner":"red"})");
  EXPECT_EQ(start.viewer, "");
  EXPECT_FALSE(start.input);
  EXPECT_FALSE(start.consent);
  EXPECT_EQ(start.fps, 30);
  EXPECT_EQ(start.bitrateKbps, 4000);
  EXPECT_EQ(start.banner, Banner::Style());
  EXPECT_EQ(requestOf<StartRequest>(R"({"op":"start","banner":3})").banner, Banner::Style());
  EXPECT_FALSE(requestOf<StartRequest>(R"({"op":"start","consent":2})").consent);
}

TEST(StartRequestTest, PassesNumbersOnUnchecked) {
  const auto start =
      requestOf<StartRequest>(R"({"op":"start","fps":0,"bitrateKbps":-9223372036854775808})");
  EXPECT_EQ(start.fps, 0);
  EXPECT_EQ(start.bitrateKbps, INT64_MIN);
  EXPECT_EQ(requestOf<StartRequest>(R"({"op":"start","fps":-3})").fps, -3);
}

TEST(BitrateRequestTest, NeedsAnInteger) {
  EXPECT_EQ(requestOf<BitrateRequest>(R"({"op":"bitrate","bitrateKbps":2500})").bitrateKbps, 2500);
  EXPECT_EQ(requestOf<BitrateRequest>(R"({"op":"bitrate","bitrateKbps":-1})").bitrateKbps, -1);
  for (const auto* text :
       {R"({"op":"bitrate"})", R"({"op":"bitrate","bitrateKbps":2500.5})",
        R"({"op":"bitrate","bitrateKbps":"2500"})", R"({"op":"bitrate","bitrateKbps":null})"}) {
    EXPECT_FALSE(request(text)) << text;
  }
}

TEST(InputRequestTest, IsAllowedOnlyWhenItSaysSo) {
  EXPECT_TRUE(requestOf<InputRequest>(R"({"op":"input","allowed":true})").allowed);
  EXPECT_TRUE(requestOf<InputRequest>(R"({"op":"input","allowed":1})").allowed);
  for (const auto* text : {R"({"op":"input"})", R"({"op":"input","allowed":false})",
                           R"({"op":"input","allowed":"true"})", R"({"op":"input","allowed":2})"}) {
    EXPECT_FALSE(requestOf<InputRequest>(text).allowed) << text;
  }
}

/// Requests wait, and whoever sends them chooses the names.
TEST(ControlRequestTest, KeepsNoMoreOfANameThanIsShown) {
  const std::string name = "\"" + std::string(100'000, 'x') + R"("})";
  EXPECT_EQ(requestOf<StartRequest>(R"({"op":"start","viewer":)" + name).viewer.size(), 1024U);
  EXPECT_EQ(requestOf<ViewerRequest>(R"({"op":"viewer","name":)" + name).name.size(), 1024U);
}

TEST(ViewerRequestTest, HasAnEmptyNameByDefault) {
  EXPECT_EQ(requestOf<ViewerRequest>(R"({"op":"viewer","name":"Bo"})").name, "Bo");
  EXPECT_EQ(requestOf<ViewerRequest>(R"({"op":"viewer"})").name, "");
  EXPECT_EQ(requestOf<ViewerRequest>(R"({"op":"viewer","name":5})").name, "");
}

}  // namespace
}  // namespace vesk::VESK_FILE
