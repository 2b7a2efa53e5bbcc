#include "control/ControlBacklog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <vector>

namespace vesk::VESK_FILE {
namespace {

TEST(ControlBacklogTest, LetsTheReaderWaitUntilAPlaceIsFree) {
  const ControlBacklog backlog;
  std::vector<ControlBacklog::Place> taken;
  for (int i = 0; i < ControlBacklog::most; ++i) taken.push_back(backlog.enter());
  auto next = std::async(std::launch::async, [&] { return backlog.enter(); });
  EXPECT_EQ(next.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  const auto copy = taken.back();
  taken.pop_back();
  EXPECT_EQ(next.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  taken.pop_back();
  EXPECT_NE(next.get(), nullptr);
}

TEST(ControlBacklogTest, SharesItsPlacesWithItsCopies) {
  const ControlBacklog backlog;
  const ControlBacklog copy = backlog;  // NOLINT(performance-unnecessary-copy-initialization)
  std::vector<ControlBacklog::Place> taken;
  for (int i = 0; i < ControlBacklog::most; ++i) taken.push_back(backlog.enter());
  auto next = std::async(std::launch::async, [&] { return copy.enter(); });
  EXPECT_EQ(next.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  taken.clear();
  EXPECT_NE(next.get(), nullptr);
}

}  // namespace
}  // namespace vesk::VESK_FILE
