#include "agent/VideoNotes.h"

#include <gtest/gtest.h>

#include <array>

namespace vesk::agent::VESK_FILE {
namespace {

using namespace std::chrono_literals;

constexpr std::array key{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x65}};
constexpr std::array delta{std::byte{0}, std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x41}};
constexpr TimePoint start{5s};

TEST(VideoNotesTest, SumUpASecond) {
  VideoNotes notes;
  EXPECT_FALSE(notes.due());
  EXPECT_FALSE(notes.take());
  notes.add({Ticks{}, delta}, start);
  notes.add({Ticks{}, key}, start + 300ms);
  EXPECT_EQ(notes.due(), start + 1s);
  EXPECT_EQ(notes.take(), "video: 2 access units, 10 bytes, key frame");
  EXPECT_FALSE(notes.due());
}

TEST(VideoNotesTest, BeginAfreshAfterEachNote) {
  VideoNotes notes;
  notes.add({Ticks{}, key}, start);
  notes.take();
  notes.add({Ticks{}, delta}, start + 2s);
  EXPECT_EQ(notes.due(), start + 3s);
  EXPECT_EQ(notes.take(), "video: 1 access unit, 5 bytes");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
