#include "e2e/Browser.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "support/Patience.h"

namespace vesk::testing {
namespace {

using nlohmann::json;

void waitFor(const Descriptor& descriptor, short event) {
  pollfd wanted{descriptor.get(), event, 0};
  if (::poll(&wanted, 1, patience()) <= 0) throw std::runtime_error("the browser does not answer");
}

Descriptor pipeAt(const std::filesystem::path& path, int flags) {
  if (::mkfifo(path.c_str(), S_IRUSR | S_IWUSR) != 0) throw std::runtime_error("no pipe");
  return Descriptor(::open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC));
}

bool hasEnded(pid_t process) {
  siginfo_t info{};
  return ::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == process;
}

/// It reads from descriptor 3 and writes to 4.
std::string command(const std::string& folder) {
  return "exec chromium --headless=new --no-sandbox --disable-gpu --no-first-run "
         "--disable-background-networking --disable-component-update --disable-sync "
         "--disable-breakpad --remote-debugging-pipe --user-data-dir=" +
         folder + "/profile 3<" + folder + "/commands 4>" + folder + "/answers >" + folder +
         "/output 2>&1";
}

}  // namespace

/// Open for reading too, the pipe of the commands has room for the first one before the browser is
/// there.
Browser::Browser()
    : commands_(pipeAt(folder_.path() / "commands", O_RDWR)),
      answers_(pipeAt(folder_.path() / "answers", O_RDONLY)),
      process_(std::make_unique<ChildProcess>(
          std::vector<std::string>{"sh", "-c", command(folder_.path().string())})) {
  openPage();
}

/// Asked to end, it ends its own processes first.
Browser::~Browser() {
  try {
    page_.clear();
    ask("Browser.close", json::object());
  } catch (const std::exception&) {
    return;
  }
  waitUntil([this] { return hasEnded(process_->pid()); });
}

/// Of a file, because a page has decoders only where nobody on its way could have changed it.
void Browser::openPage() {
  const auto file = folder_.path() / "page.html";
  std::ofstream(file) << "<!doctype html><title>page</title>";
  const auto target = ask("Target.createTarget", {{"url", "about:blank"}})["targetId"];
  const auto session = ask("Target.attachToTarget", {{"targetId", target}, {"flatten", true}});
  page_ = session["sessionId"].get<std::string>();
  ask("Page.enable", json::object());
  ask("Page.setLifecycleEventsEnabled", {{"enabled", true}});
  const auto document = ask("Page.navigate", {{"url", "file://" + file.string()}})["loaderId"];
  while (loaded_ != document) nextMessage();
}

json Browser::evaluate(const std::string& expression) {
  const auto answer =
      ask("Runtime.evaluate",
          {{"expression", expression}, {"awaitPromise", true}, {"returnByValue", true}});
  if (answer.contains("exceptionDetails")) {
    throw std::runtime_error("the page: " + answer["exceptionDetails"].dump());
  }
  return answer["result"].value("value", json());
}

json Browser::ask(const std::string& method, const Json& parameters) {
  const int number = ++lastCall_;
  json call{{"id", number}, {"method", method}, {"params", parameters}};
  if (!page_.empty()) call["sessionId"] = page_;
  send(call.dump());
  for (;;) {
    const auto message = nextMessage();
    if (message.value("id", 0) != number) continue;
    if (!message.contains("result")) throw std::runtime_error("the browser: " + message.dump());
    return message["result"];
  }
}

/// A message ends with a nought.
void Browser::send(const std::string& message) {
  const std::size_t all = message.size() + 1;
  for (std::size_t sent = 0; sent < all;) {
    const auto count = ::write(commands_.get(), message.c_str() + sent, all - sent);
    if (count > 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      waitFor(commands_, POLLOUT);
    } else {
      throw std::runtime_error("the browser cannot be told anything");
    }
  }
}

json Browser::nextMessage() {
  std::size_t end = 0;
  while ((end = received_.find('\0')) == std::string::npos) {
    waitFor(answers_, POLLIN);
    std::array<char, 65536> part{};
    const auto count = ::read(answers_.get(), part.data(), part.size());
    if (count == 0) {
      std::ifstream output(folder_.path() / "output");
      throw std::runtime_error("the browser has ended: " +
                               std::string(std::istreambuf_iterator<char>(output), {}));
    }
    if (count > 0) received_.append(part.data(), static_cast<std::size_t>(count));
  }
  auto message = json::parse(received_.substr(0, end));
  received_.erase(0, end + 1);
  if (message.value("method", "") == "Page.lifecycleEvent" && message["params"]["name"] == "load") {
    loaded_ = message["params"]["loaderId"];
  }
  return message;
}

}  // namespace vesk::testing
