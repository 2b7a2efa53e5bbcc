#include "support/XServer.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "platform/Descriptor.h"

namespace vesk::testing {
namespace {

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> result;
  for (auto& string : strings) result.push_back(string.data());
  result.push_back(nullptr);
  return result;
}

std::vector<std::string> xvfb(const std::string& screen, const std::vector<std::string>& options) {
  // Without -noreset the server would start anew when a test's first client leaves. Loading what
  // draws by GL takes as long as all the rest of its start, and few draw by it.
  std::vector<std::string> command{"Xvfb", "-screen",  "0",          screen, "-nolisten",
                                   "tcp",  "-noreset", "-extension", "GLX"};
  command.insert(command.end(), options.begin(), options.end());
  return command;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, std::vector<std::string> environment,
                           std::vector<int> keptDescriptors) {
  const auto argv = pointers(command);
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("cannot start " + command.front());
  if (pid_ > 0) return;
  for (const int descriptor : keptDescriptors) ::fcntl(descriptor, F_SETFD, 0);
  for (auto& entry : environment) ::putenv(entry.data());
  ::execvp(argv.front(), argv.data());
  ::_exit(127);
}

ChildProcess::~ChildProcess() { stop(SIGKILL); }

int ChildProcess::stop(int signal) {
  int status = 0;
  if (pid_ < 0) return status;
  ::kill(pid_, signal);
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  return status;
}

XServer::XServer(const std::string& screen, const std::vector<std::string>& options)
    : XServer(xvfb(screen, options), {}) {}

XServer::XServer(std::vector<std::string> command, std::vector<std::string> environment) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const Descriptor in(ends[0]);
  Descriptor out(ends[1]);
  const std::string program = command.front();
  command.insert(command.end(), {"-displayfd", std::to_string(out.get())});
  process_ = std::make_unique<ChildProcess>(std::move(command), std::move(environment),
                                            std::vector{out.get()});
  out.close();
  std::string number;
  for (char c = 0; ::read(in.get(), &c, 1) == 1 && c != '\n';) number += c;
  if (number.empty()) throw std::runtime_error(program + " did not start; is it installed?");
  display_ = ":" + number;
}

}  // namespace vesk::testing
