#pragma once

#include <iosfwd>
#include <string_view>

namespace vesk::agent {

/// What the agent says: messages on standard output for programs to read, notes and errors on
/// standard error for people. Each line is out when the call returns.
///
/// Thread: one. Owns: nothing; the streams outlive it. Fails: `message` throws std::runtime_error
/// when nobody takes the output any more; what cannot be said on standard error is lost.
class Console {
 public:
  enum class Notes { shown, hidden };

  Console(std::ostream& output, std::ostream& errors, Notes notes)
      : output_(output), errors_(errors), notes_(notes) {}

  void message(std::string_view line);

  /// Something that happened; not shown to who wants it quiet.
  void note(std::string_view text);

  /// Something that the person must know, quiet or not.
  void error(std::string_view text);

  /// A text of several lines that the person asked for.
  void page(std::string_view text);

 private:
  std::ostream& output_;
  std::ostream& errors_;
  Notes notes_;
};

}  // namespace vesk::agent
