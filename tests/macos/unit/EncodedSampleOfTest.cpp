#include "platform/macos/encodedSampleOf.h"

#include "macos/unit/SystemFixture.h"

namespace vesk::mac::VESK_FILE {
namespace {

namespace fake = vesk::fakes::mac;
using Sets = std::vector<std::vector<std::byte>>;

std::vector<std::byte> bytes(std::initializer_list<int> values) {
  std::vector<std::byte> made;
  for (const int value : values) made.push_back(static_cast<std::byte>(value));
  return made;
}

class EncodedSampleOfTest : public vesk::testing::SystemFixture {
 protected:
  /// A frame's parts, alive for one look at it.
  struct Frame {
    fake::BlockBuffer data;
    fake::Dictionary entries;
    fake::Array attachments;
    fake::Format format;
    fake::SampleBuffer sample;

    Frame() {
      data.bytes = {0, 0, 0, 1, 0x65};
      attachments.elements = {&entries};
      format.sets = {{0x67, 1}, {0x68, 2}};
      sample.data = &data;
      sample.attachments = &attachments;
      sample.format = &format;
    }
    EncodedSample encoded() const {
      return encodedSampleOf(fake::as<CMSampleBufferRef>(sample)).value();
    }
    void setNotSync(CFTypeRef value) { entries.entries[kCMSampleAttachmentKey_NotSync] = value; }
  };

  Frame* frame_ = nullptr;
  void SetUp() override { frame_ = &owned_.emplace(); }
  void TearDown() override { owned_.reset(); }

 private:
  std::optional<Frame> owned_;
};

TEST_F(EncodedSampleOfTest, IsNothingForALostFrame) { EXPECT_FALSE(encodedSampleOf(nullptr)); }

TEST_F(EncodedSampleOfTest, CopiesTheDataAndTheParameterSets) {
  const auto sample = frame_->encoded();
  EXPECT_EQ(sample.data, bytes({0, 0, 0, 1, 0x65}));
  EXPECT_EQ(sample.parameterSets, (Sets{bytes({0x67, 1}), bytes({0x68, 2})}));
}

TEST_F(EncodedSampleOfTest, HasNoDataWhereThereIsNoneOrItCannotBeRead) {
  frame_->data.copyStatus = -1;
  EXPECT_EQ(frame_->encoded().data, std::nullopt);
  frame_->sample.data = nullptr;
  EXPECT_EQ(frame_->encoded().data, std::nullopt);
}

TEST_F(EncodedSampleOfTest, HasEmptyDataOfAnEmptyBuffer) {
  frame_->data.bytes.clear();
  EXPECT_EQ(frame_->encoded().data, bytes({}));
}

TEST_F(EncodedSampleOfTest, TellsWhetherItNeedsOthersWhereTheEncoderDoes) {
  EXPECT_EQ(frame_->encoded().notSync, std::nullopt);
  frame_->setNotSync(kCFBooleanTrue);
  EXPECT_EQ(frame_->encoded().notSync, true);
  frame_->setNotSync(kCFBooleanFalse);
  EXPECT_EQ(frame_->encoded().notSync, false);
  frame_->setNotSync(&frame_->entries);  // no Boolean
  EXPECT_EQ(frame_->encoded().notSync, std::nullopt);
}

TEST_F(EncodedSampleOfTest, DoesWithoutAttachments) {
  frame_->attachments.elements.clear();
  EXPECT_EQ(frame_->encoded().notSync, std::nullopt);
  frame_->sample.attachments = nullptr;
  EXPECT_EQ(frame_->encoded().notSync, std::nullopt);
}

TEST_F(EncodedSampleOfTest, LeavesOutAParameterSetThatCannotBeRead) {
  frame_->format.unreadable = 0;
  EXPECT_EQ(frame_->encoded().parameterSets, (Sets{bytes({0x68, 2})}));
  frame_->format.sets.clear();
  EXPECT_EQ(frame_->encoded().parameterSets->size(), 0U);
  frame_->sample.format = nullptr;
  EXPECT_EQ(frame_->encoded().parameterSets, std::nullopt);
}

}  // namespace
}  // namespace vesk::mac::VESK_FILE
