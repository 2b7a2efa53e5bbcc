#include "x11/Receivers.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace vesk::testing {
namespace {

std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The rest of the last whole line that starts with `label`.
std::string lastLine(const std::string& text, const std::string& label) {
  const auto start = text.rfind("\n" + label);
  if (start == std::string::npos) return {};
  const auto begin = start + 1 + label.size();
  const auto end = text.find('\n', begin);
  return end == std::string::npos ? std::string() : text.substr(begin, end - begin);
}

/// The parts of the title: the text, what is selected of it, how far it is scrolled, and how high
/// the bar is that the browser draws above the page.
constexpr const char* page = R"(<title>loading</title>
<textarea autofocus style="width:700px;height:300px;font:20px monospace"></textarea>
<script>
  const field = document.querySelector('textarea');
  const tell = () => document.title = [field.value,
      field.value.substring(field.selectionStart, field.selectionEnd), field.scrollTop, outerHeight - innerHeight].join('¦');
  // A key that has come through tells that none will be lost any more: before the first picture
  // they are, with the focus too.
  field.addEventListener('keyup', () => {
    document.title = 'ready';
    let asked = false;
    const tellSoon = () => {
      if (!asked) requestAnimationFrame(() => { asked = false; tell(); });
      asked = true;
    };
    document.onselectionchange = field.oninput = field.onscroll = field.onselect = tellSoon;
  }, {once: true});
</script>)";

std::string part(const std::string& title, int index) {
  const std::string mark = "¦";
  std::size_t begin = 0;
  for (; index > 0; --index) {
    begin = title.find(mark, begin);
    if (begin == std::string::npos) return {};
    begin += mark.size();
  }
  return title.substr(begin, title.find(mark, begin) - begin);
}

bool ended(pid_t process) {
  siginfo_t info{};
  return ::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == process;
}

/// A program whose output goes into a file.
class Program : public Receiver {
 public:
  Program(Session& session, const std::string& command, const std::string& windowClass)
      : session_(session), process_({"sh", "-c", "exec " + expanded(command)}, {"LC_ALL=C.UTF-8"}) {
    window_ = session.waitForActive(windowClass);
    if (window_ == XCB_NONE) throw std::runtime_error("no window of " + windowClass);
  }

  std::string text() override { return contents(folder_.path() / "output"); }
  bool hasEnded() override { return ended(process_.pid()); }
  pid_t pid() const override { return process_.pid(); }
  Point place(Point inWindow) override { return session_.place(window_, inWindow); }

 protected:
  Session& session_;
  xcb_window_t window_ = XCB_NONE;
  TemporaryFolder folder_;

 private:
  /// "%" in the command stands for the program's folder.
  std::string expanded(std::string command) const {
    std::ofstream(folder_.path() / "page.html") << "<meta charset=utf-8>" << page;
    for (auto at = command.find('%'); at != std::string::npos; at = command.find('%'))
      command.replace(at, 1, folder_.path().string());
    return command;
  }

  ChildProcess process_;
};

class QtEntry final : public Program {
 public:
  explicit QtEntry(Session& session)
      : Program(session, std::string(VESK_QT_ENTRY) + " > %/output", "qt_entry") {
    if (!eventually([this] { return Program::text().starts_with("ready\n"); }))
      throw std::runtime_error("the Qt entry has no focus");
  }
  std::string text() override { return lastLine("\n" + Program::text(), "text:"); }
  std::string selection() override { return lastLine("\n" + Program::text(), "selected:"); }
};

/// The page writes its field into its title, and so into the window's name.
class Chromium final : public Program {
 public:
  explicit Chromium(Session& session)
      : Program(session,
                "chromium --no-sandbox --disable-gpu --disable-quic --no-first-run "
                "--disable-background-networking --disable-component-update --disable-sync "
                "--user-data-dir=%/profile --window-size=800,600 --window-position=0,0 "
                "--app=file://%/page.html > %/output 2>&1",
                "hromium") {
    if (!eventually([this] { return isReady() || (session_.strikeShift(), false); }))
      throw std::runtime_error("Chromium shows no page: " + title() + "\n" + Program::text());
  }
  std::string text() override { return part(title(), 0); }
  std::string selection() override { return part(title(), 1); }
  std::string scroll() override { return part(title(), 2); }
  Point place(Point inWindow) override {
    inWindow.y += std::atoi(part(title(), 3).c_str());
    return Program::place(inWindow);
  }

 private:
  std::string title() const { return session_.text(window_, "_NET_WM_NAME"); }
  bool isReady() const { return title() == "ready" || title().find("¦") != std::string::npos; }
};

}  // namespace

std::string Receiver::waitFor(const std::string& wanted) {
  eventually([&] { return text() == wanted; });
  return text();
}

std::string Receiver::waitForSelection(const std::string& wanted) {
  eventually([&] { return selection() == wanted; });
  return selection();
}

std::unique_ptr<Receiver> startXterm(Session& session) {
  return std::make_unique<Program>(session, "xterm -u8 -e sh -c 'stty -echo; exec cat > %/output'",
                                   "XTerm");
}

std::unique_ptr<Receiver> startZenity(Session& session) {
  return std::make_unique<Program>(session, "zenity --entry > %/output", "enity");
}

std::unique_ptr<Receiver> startQtEntry(Session& session) {
  return std::make_unique<QtEntry>(session);
}

std::unique_ptr<Receiver> startChromium(Session& session) {
  return std::make_unique<Chromium>(session);
}

}  // namespace vesk::testing
