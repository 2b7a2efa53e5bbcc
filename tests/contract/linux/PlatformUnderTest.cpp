#include "contract/PlatformUnderTest.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include "platform/linux/loop/ThreadQueues.h"

namespace vesk::testing {
namespace {

class LinuxUnderTest final : public PlatformUnderTest {
 public:
  Queues& queues() override { return queues_; }
  void run() override { QCoreApplication::exec(); }
  void quit() override { QCoreApplication::quit(); }
  void runNestedLoop(std::chrono::milliseconds duration) override {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
  }

 private:
  char name_[5] = "test";
  char* arguments_[2] = {name_, nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_};
  loop::ThreadQueues queues_;
};

}  // namespace

std::unique_ptr<PlatformUnderTest> makePlatformUnderTest() {
  return std::make_unique<LinuxUnderTest>();
}

}  // namespace vesk::testing
