#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>

#include "agent/server/AskedSession.h"
#include "agent/server/HeldInput.h"
#include "agent/server/PageBacklog.h"
#include "agent/server/PageGuest.h"
#include "agent/server/PageKey.h"
#include "agent/server/PageMail.h"
#include "agent/server/PageRefusal.h"
#include "agent/server/ProgramState.h"

namespace vesk::agent {

/// The one viewer, as the room knows it.
class PageSeat {
 public:
  virtual ~PageSeat() = default;
  virtual PageBacklog& backlog() = 0;
  /// The backlog has something new.
  virtual void wake() = 0;
  /// Reading may go on.
  virtual void readOn() = 0;
  virtual void refuse(PageRefusal refusal) = 0;
  /// The agent ends.
  virtual void end() = 0;
};

/// What the page's connections share: who is the viewer, and what the program and the viewer say to
/// each other.
///
/// Thread: the page's. Owns: the key, the viewer's held input, and the viewer itself until it
/// leaves, since one that is held up has no operation that would own it. Fails: never.
class PageRoom {
 public:
  using TimePoint = PageBacklog::TimePoint;

  /// How long strangers are listened to, a viewer that has left is waited for, and one is held up.
  struct Times {
    std::chrono::milliseconds request{std::chrono::seconds(10)};  ///< for the request's header
    std::chrono::milliseconds key{std::chrono::seconds(10)};
    std::chrono::milliseconds farewell{std::chrono::seconds(2)};  ///< for taking a last answer
    std::chrono::milliseconds absence{std::chrono::seconds(10)};  ///< a reload takes a moment
    std::chrono::milliseconds stuck{std::chrono::seconds(5)};     ///< for the program to take more
  };

  /// `mail` outlives the room. `viewerHasLeft` is called when the time of its absence begins.
  PageRoom(PageMail& mail, Times times, std::function<void()> viewerHasLeft)
      : mail_(mail), times_(times), viewerHasLeft_(std::move(viewerHasLeft)) {}

  void listensAt(std::uint16_t port) { port_ = port; }
  std::uint16_t port() const { return port_; }
  const Times& times() const { return times_; }
  const std::string& key() const { return key_.text(); }

  // Anybody's connections
  void welcome(const std::shared_ptr<PageGuest>& guest);
  /// The agent ends: nobody stays, the viewer included.
  void showAllOut();
  /// The page's thread has ended, whoever is still here.
  void empty() { viewer_.reset(); }
  void note(const std::string& text) { mail_.putNote("page: " + text); }

  // The viewer
  std::optional<PageRefusal> sit(const std::shared_ptr<PageSeat>& seat, const std::string& key,
                                 const PageKey::Tokens& browser, TimePoint now);
  void leave(const PageSeat& seat);
  /// The time of its absence is over: unless it is back, the session that it asked for ends.
  void viewerIsMissed();
  PageMail::Room fromViewer(Frame frame);
  /// Looks after what the seat's backlog wants.
  void tend(TimePoint now);

  // The program
  void programConnected();
  void programGone();
  /// What the agent's own commands send to the program.
  void agentSent(const Frame& frame);
  /// Everything but video.
  void programSent(const Frame& frame);
  /// An access unit, as the message for the page.
  void programSentVideo(Bytes message, TimePoint now);
  void programVideoLost();
  void noteForPage(std::string_view text);
  void mailTaken();

  /// Any thread.
  bool hasViewer() const { return isTaken_; }

 private:
  void tell(const std::string& text);

  PageMail& mail_;
  Times times_;
  std::function<void()> viewerHasLeft_;
  std::uint16_t port_ = 0;
  PageKey key_;
  std::list<std::weak_ptr<PageGuest>> guests_;
  std::shared_ptr<PageSeat> viewer_;
  std::atomic<bool> isTaken_ = false;
  HeldInput held_;
  AskedSession session_;
  bool hasProgram_ = false;
  ProgramState program_;
};

}  // namespace vesk::agent
