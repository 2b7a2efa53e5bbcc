#include "support/LogLines.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "support/Patience.h"

namespace vesk::testing {
namespace {

std::string logText() {
  std::ifstream file(std::filesystem::path(std::getenv("HOME")) / "Library/Logs/Vesk Remote.log");
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

LogLines::LogLines() : start_(logText().size()) {}

std::vector<std::string> LogLines::messages() const {
  std::istringstream text(logText().substr(start_));
  std::vector<std::string> found;
  for (std::string line; std::getline(text, line);)
    found.push_back(line.substr(line.find(' ') + 1));
  return found;
}

std::vector<std::string> LogLines::waitFor(std::size_t count) const {
  using namespace std::chrono;
  const auto deadline = steady_clock::now() + milliseconds(patience());
  while (messages().size() < count && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(2));  // a file tells nobody when it grows
  }
  return messages();
}

}  // namespace vesk::testing
