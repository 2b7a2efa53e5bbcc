#pragma once

#include <optional>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::testing {

/// A window with the input focus that takes a window manager's "are you there", and answers when
/// and what the test tells it to.
class QuestionedWindow {
 public:
  struct Question {
    std::uint32_t number;
    xcb_window_t window;
  };

  QuestionedWindow();

  /// The next question, or nothing after ten seconds.
  std::optional<Question> waitForQuestion();

  void answer(Question question);

 private:
  xcb_atom_t protocols() const;
  xcb_atom_t ping() const;

  x11::server::Connection connection_;
  xcb_window_t window_;
};

}  // namespace vesk::testing
