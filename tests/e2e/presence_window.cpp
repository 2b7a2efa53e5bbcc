// Shows the alert and the banner on the display that DISPLAY names, as a test tells it, one command
// a line on standard input:
//   ask NAME                     prints "allowed" or "denied" when it is answered
//   show STRIP BORDER THICKNESS NAME
//   viewer NAME
//   hide
//   focus                        prints "focused" as soon as the alert knows that it has the focus
//   ping                         prints "pong" from the main queue
//   windows                      prints the own windows that are listed
// A name may hold the escapes \n and \\. The end of the input ends the program.

#include <QGuiApplication>
#include <QWindow>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include "platform/Platform.h"
#include "platform/linux/x11/XDesktop.h"
#include "presence/Banner.h"
#include "presence/Consent.h"

namespace {

using namespace vesk;

/// The rest of the line, its escapes resolved.
std::string restOf(std::istringstream& line) {
  std::string escaped;
  std::getline(line >> std::ws, escaped);
  std::string text;
  for (std::size_t i = 0; i < escaped.size(); ++i) {
    const bool escape = escaped[i] == '\\' && i + 1 < escaped.size();
    text += !escape ? escaped[i] : (escaped[++i] == 'n' ? '\n' : escaped[i]);
  }
  return text;
}

void say(const std::string& line) { std::cout << line << std::endl; }

class Commands final : public ApplicationDelegate {
 public:
  explicit Commands(Platform& platform)
      : platform_(platform), banner_(platform.desktop->displays(), *platform.overlays) {}
  ~Commands() override { reader_.join(); }

  void applicationDidFinishLaunching() override {
    say("ready");
    reader_ = std::thread([this] { read(); });
  }

  void applicationWillTerminate() override { QGuiApplication::exit(0); }

 private:
  void read() {
    for (std::string line; std::getline(std::cin, line);) {
      if (line.starts_with("ask ")) {
        std::istringstream words(line.substr(4));
        Consent::ask(platform_.queues->main(), *platform_.alerts, restOf(words),
                     [](bool allowed) { say(allowed ? "allowed" : "denied"); });
      } else if (line == "focus") {
        // Not by the main queue, which waits for the alert's end.
        QMetaObject::invokeMethod(qApp, [] { tellFocus(); });
      } else {
        platform_.queues->main().async([this, line] { run(line); });
      }
    }
    platform_.queues->main().async([this] {
      banner_.hide();
      QGuiApplication::exit(0);
    });
  }

  static void tellFocus() {
    if (QGuiApplication::focusWindow() != nullptr) return say("focused");
    QObject::connect(
        qApp, &QGuiApplication::focusWindowChanged, qApp, [] { say("focused"); },
        static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
  }

  void run(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "show") {
      Banner::Style style;
      words >> style.stripOpacity >> style.borderOpacity >> style.borderThickness;
      banner_.show(restOf(words), style);
      say("shown");
    } else if (command == "viewer") {
      banner_.setViewer(restOf(words));
      say("renamed");
    } else if (command == "hide") {
      banner_.hide();
      say("hidden");
    } else if (command == "ping") {
      say("pong");
    } else if (command == "windows") {
      std::string list = "windows";
      for (const auto window : static_cast<x11::XDesktop&>(*platform_.desktop).ownWindows().all()) {
        list += " " + std::to_string(window);
      }
      say(list);
    }
  }

  Platform& platform_;
  Banner banner_;
  std::thread reader_;
};

}  // namespace

int main() {
  Platform platform = makePlatform();
  Commands commands(platform);
  platform.application->setActivationPolicy(ActivationPolicy::accessory);
  platform.application->setDelegate(commands);
  platform.application->run();
  return 0;
}
