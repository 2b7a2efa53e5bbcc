#include "agent/Recorder.h"

#include <gtest/gtest.h>

#include <iterator>
#include <stdexcept>

#include "agent/Command.h"
#include "support/TemporaryFolder.h"

namespace vesk::agent::VESK_FILE {
namespace {

std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(RecorderTest, WritesUnitsAndALineAboutEachAsTheyCome) {
  const vesk::testing::TemporaryFolder folder;
  const auto video = folder.path() / "v.h264";
  const auto durations = folder.path() / "v.txt";
  std::ofstream(video) << "of an earlier recording";
  const std::string key("\0\0\0\1\x65kk", 7);
  const std::string delta("\0\0\0\1\x41", 5);

  Recorder recorder(video, durations);
  EXPECT_EQ(contents(video), "");
  recorder.add({Ticks{3000}, bytesOf(key)});
  EXPECT_EQ(contents(video), key);
  EXPECT_EQ(contents(durations), "3000 7 key\n");
  recorder.add({Ticks{4294967295}, bytesOf(delta)});
  EXPECT_EQ(contents(video), key + delta);
  EXPECT_EQ(contents(durations), "3000 7 key\n4294967295 5 delta\n");
}

TEST(RecorderTest, WritesNothingWithoutNames) {
  Recorder recorder("", "");
  EXPECT_NO_THROW(recorder.add({Ticks{1}, bytesOf("x")}));
}

std::string failureOf(const std::string& videoName) try {
  Recorder(videoName, "").add({Ticks{1}, bytesOf("x")});
  return "";
} catch (const std::runtime_error& error) {
  return error.what();
}

TEST(RecorderTest, TellsWhatCannotBeWritten) {
  EXPECT_EQ(failureOf("/nowhere/video"),
            "cannot write '/nowhere/video': No such file or directory");
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
