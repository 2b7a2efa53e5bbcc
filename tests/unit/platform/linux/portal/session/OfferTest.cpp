#include <gtest/gtest.h>

#include <QCoreApplication>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "e2e/MessageBus.h"
#include "platform/linux/portal/session/Offer.h"
#include "support/TemporaryFolder.h"

namespace vesk::portal::session::VESK_FILE {
namespace {

/// Started for whoever asks for a portal, and never one.
void describeSilentPortal(const std::filesystem::path& services) {
  std::filesystem::create_directories(services);
  std::ofstream(services / "portal.service")
      << "[D-BUS Service]\nName=org.freedesktop.portal.Desktop\nExec=/usr/bin/sleep 1\n";
}

/// Ends the process; with 0 where Qt has nothing to complain of.
[[noreturn]] void makeApplicationAfterAsking() {
  askForOffer(std::chrono::milliseconds(30));
  static bool hasComplained = false;
  qInstallMessageHandler([](auto, const auto&, const QString& text) {
    std::fprintf(stderr, "%s\n", qPrintable(text));
    hasComplained = true;
  });
  std::array<char, 6> name{"tests"};
  std::array<char*, 2> arguments{name.data(), nullptr};
  int count = 1;
  const QCoreApplication application(count, arguments.data());
  std::_Exit(hasComplained ? 1 : 0);
}

/// Qt takes the first thread that it meets for the program's first, and an application of any other
/// hears nothing of its windows.
TEST(OfferTest, LeavesItToWhoeverAsksToBeTheFirstThreadOfQt) {
  const testing::TemporaryFolder folder;
  describeSilentPortal(folder.path() / "services");
  const testing::MessageBus bus(folder.path());
  ::setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
  for (int i = 0; i < 30; ++i) {
    EXPECT_EXIT(makeApplicationAfterAsking(), ::testing::ExitedWithCode(0), "");
  }
}

}  // namespace
}  // namespace vesk::portal::session::VESK_FILE
