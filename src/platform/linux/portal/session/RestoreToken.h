#pragma once

#include <filesystem>
#include <string>

namespace vesk::portal::session {

/// What the portal has given for the person not to be asked again, from one start of the program to
/// the next.
///
/// Thread: one at a time. Owns: nothing. Fails: silently, as a token that is empty: the person is
/// asked then.
class RestoreToken {
 public:
  /// In the user's folder for what programs remember.
  RestoreToken();
  explicit RestoreToken(std::filesystem::path path) : path_(std::move(path)) {}

  std::string read() const;

  /// For the user's own eyes: whoever has it may look at the screen. It is good for one session,
  /// so the one before is replaced, or removed where `token` is empty.
  void write(const std::string& token) const;

 private:
  std::filesystem::path path_;
};

}  // namespace vesk::portal::session
