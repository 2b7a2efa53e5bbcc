#include "platform/linux/loop/QtMainQueue.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <string>
#include <thread>
#include <vector>

namespace vesk::loop::VESK_FILE {
namespace {

using namespace std::chrono_literals;
using Order = std::vector<std::string>;

/// The event loop of a program without windows; a test that takes too long is ended by a failure.
class QtMainQueueTest : public ::testing::Test {
 protected:
  QtMainQueueTest() {
    QTimer::singleShot(20s, &application_, [] {
      ADD_FAILURE() << "the main queue did not get to its end";
      QCoreApplication::quit();
    });
  }

  void add(const std::string& event) { order_.push_back(event); }
  static void quit() { QCoreApplication::quit(); }

  char name_[5] = "test";
  char* arguments_[2] = {name_, nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_};
  QtMainQueue queue_;
  Order order_;
  std::thread::id mainThread_ = std::this_thread::get_id();
};

TEST_F(QtMainQueueTest, RunsTasksOfEveryThreadInOrderOnTheMainThread) {
  queue_.async([this] { add("main"); });
  std::thread([this] {
    queue_.async([this] { add("other"); });
    queue_.async([this] {
      add(std::this_thread::get_id() == mainThread_ ? "on main" : "elsewhere");
      quit();
    });
  }).join();
  QCoreApplication::exec();
  EXPECT_EQ(order_, (Order{"main", "other", "on main"}));
}

TEST_F(QtMainQueueTest, RunsATaskSubmittedByATaskLater) {
  queue_.async([this] {
    queue_.async([this] {
      add("inner");
      quit();
    });
    add("outer");
  });
  QCoreApplication::exec();
  EXPECT_EQ(order_, (Order{"outer", "inner"}));
}

TEST_F(QtMainQueueTest, RunsDelayedTasksInTheOrderInWhichTheyAreDue) {
  const auto start = std::chrono::steady_clock::now();
  queue_.after(60ms, [this] {
    add("late");
    quit();
  });
  queue_.after(20ms, [this] { add("early"); });
  queue_.after(0ms, [this] { add("now"); });
  queue_.after(-5ms, [this] { add("past"); });
  QCoreApplication::exec();
  EXPECT_EQ(order_, (Order{"past", "now", "early", "late"}));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);
}

TEST_F(QtMainQueueTest, HoldsBackEveryTaskWhileOneRunsAModalLoop) {
  QEventLoop modal;
  queue_.async([&] {
    add("modal begins");
    queue_.async([this] { add("held back"); });
    queue_.after(1ms, [this] {
      add("delayed, held back");
      quit();
    });
    std::thread([this] { queue_.async([this] { add("of another thread, held back"); }); }).join();
    // The modal loop's own timers go on; this one outlasts everything submitted above.
    QTimer::singleShot(50, &modal, [&] {
      add("timer of the modal loop");
      modal.quit();
    });
    modal.exec();
    add("modal ends");
  });
  QCoreApplication::exec();
  EXPECT_EQ(order_, (Order{"modal begins", "timer of the modal loop", "modal ends", "held back",
                           "of another thread, held back", "delayed, held back"}));
}

TEST_F(QtMainQueueTest, DoesNotStarveTheLoopWithTasksThatSubmitTasks) {
  std::function<void()> again = [&] { queue_.async(again); };
  queue_.async(again);
  QTimer::singleShot(10, &application_, [this] {
    add("timer");
    quit();
  });
  QCoreApplication::exec();
  EXPECT_EQ(order_, Order{"timer"});
}

}  // namespace
}  // namespace vesk::loop::VESK_FILE
