#include "support/SessionFixture.h"

#include <chrono>
#include <memory>

namespace vesk::testing {
namespace {

using namespace std::chrono_literals;

class Image final : public ImageBuffer {
 public:
  PixelSize size() const override { return {1920, 1080}; }
};

}  // namespace

void SessionFixture::run(std::string_view request) {
  connect();
  tell(request);
  EXPECT_EQ(heardText(), starting);
  EXPECT_EQ(heard().string("op"), "started");
}

void SessionFixture::makePicture() {
  stream()->deliver({true, std::make_shared<Image>(), 0});
  manual_.advance(34ms);
  ASSERT_FALSE(session()->frames.empty());
}

void SessionFixture::makeKeyFrame() {
  makePicture();
  EncodedSample sample;
  sample.data = bytes({0, 0, 0, 2, 0x65, 0x88});
  sample.parameterSets = {bytes({0x67, 1}), bytes({0x68, 2})};
  session()->frames.back().handler(0, sample);
}

void SessionFixture::makeDeltaFrame() {
  makePicture();
  EncodedSample sample;
  sample.data = bytes({0, 0, 0, 2, 0x41, 0x88});
  sample.notSync = true;
  session()->frames.back().handler(0, sample);
}

}  // namespace vesk::testing
