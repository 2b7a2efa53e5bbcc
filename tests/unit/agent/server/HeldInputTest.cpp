#include "agent/server/HeldInput.h"

#include <gtest/gtest.h>

#include "agent/Command.h"

namespace vesk::agent::VESK_FILE {
namespace {

Frame frame(FrameKind kind, std::string_view text) {
  const auto bytes = bytesOf(text);
  return {static_cast<std::uint8_t>(kind), Bytes(bytes.begin(), bytes.end())};
}

std::vector<std::string> releases(std::initializer_list<std::string_view> inputs) {
  HeldInput held;
  for (const auto input : inputs) held.sent(frame(FrameKind::input, input));
  std::vector<std::string> texts;
  for (const auto& release : held.takeReleases()) {
    EXPECT_EQ(frameKind(release.kind), FrameKind::input);
    texts.emplace_back(reinterpret_cast<const char*>(release.payload.data()),
                       release.payload.size());
  }
  EXPECT_TRUE(held.takeReleases().empty());
  return texts;
}

using Texts = std::vector<std::string>;

TEST(HeldInputTest, NothingHeldIsNothingToLetGoOf) {
  EXPECT_EQ(releases({R"({"t":"m","e":"move","x":0.5,"y":0.5,"m":0})",
                      R"({"t":"k","c":65,"e":"down","m":0})", R"({"t":"k","c":65,"e":"up","m":0})",
                      R"({"t":"m","e":"down","b":0})", R"({"t":"m","e":"up","b":0})",
                      R"({"t":"u","s":"x"})", "[]", ""}),
            Texts());
}

TEST(HeldInputTest, KeysButtonsAndModifiersAreLetGoOf) {
  EXPECT_EQ(
      releases({R"({"t":"k","c":162,"e":"down","m":2})", R"({"t":"k","c":13,"x":true,"e":"down"})",
                R"({"t":"m","e":"down","x":0.25,"y":0.5,"b":2})",
                R"({"t":"m","e":"move","x":0.75,"y":0.5})"}),
      (Texts{R"({"b":2,"e":"up","t":"m","x":0.75,"y":0.5})",
             R"({"c":13,"e":"up","m":0,"t":"k","x":true})",
             R"({"c":162,"e":"up","m":0,"t":"k","x":false})"}));
}

TEST(HeldInputTest, AModifierAloneIsLetGoOf) {
  EXPECT_EQ(releases({R"({"t":"m","e":"move","x":0.5,"y":0,"m":4})"}),
            Texts{R"({"e":"move","m":0,"t":"m","x":0.5,"y":0.0})"});
}

TEST(HeldInputTest, APointerThatWasNeverMovedStaysWhereItIs) {
  EXPECT_EQ(releases({R"({"t":"k","c":17,"e":"down","m":2})"}),
            Texts{R"({"c":17,"e":"up","m":0,"t":"k","x":false})"});
  EXPECT_EQ(releases({R"({"t":"k","c":65,"e":"up","m":2})"}),
            Texts{R"({"c":16,"e":"up","m":0,"t":"k","x":false})"});
  EXPECT_EQ(releases({R"({"t":"m","e":"wheel","d":1,"m":2})"}),
            Texts{R"({"c":16,"e":"up","m":0,"t":"k","x":false})"});
}

TEST(HeldInputTest, WhatIsNoInputHoldsNothing) {
  HeldInput held;
  held.sent(frame(FrameKind::control, R"({"t":"k","c":65,"e":"down"})"));
  EXPECT_TRUE(held.takeReleases().empty());
}

TEST(HeldInputTest, IsBounded) {
  HeldInput held;
  for (int code = 0; code < 1000; ++code) {
    held.sent(frame(FrameKind::input, R"({"t":"k","e":"down","c":)" + std::to_string(code) + "}"));
  }
  EXPECT_EQ(held.takeReleases().size(), HeldInput::limit);
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
