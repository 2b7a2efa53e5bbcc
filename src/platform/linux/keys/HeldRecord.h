#pragma once

#include <cstdint>
#include <filesystem>
#include <set>

namespace vesk::keys {

/// The keys and buttons that are held on a Wayland desktop, written down beside the compositor's
/// socket, where it is gone when the person's session is. A compositor need not let go of all that
/// was held by whoever is gone: a program that was killed leaves that to its successor. What is
/// pressed is written before, and struck out after it is up.
///
/// Thread: one at a time. Fails: silently, as a record of nothing.
class HeldRecord {
 public:
  /// As the kernel numbers them.
  using Key = std::uint32_t;

  HeldRecord();

  /// What a predecessor has left behind. Nothing once something was written here.
  bool isLeftBehind() const;
  std::set<Key> read() const;

  /// What is held now, and whether that is less than what is written down.
  const std::set<Key>& held() const { return held_; }
  bool isAhead() const { return held_ != written_; }

  /// Written down when this returns.
  void add(Key code);

  /// Struck out with the next `update`, once what lets go of it has been sent.
  void remove(Key code) { held_.erase(code); }
  void update();

  /// Nothing is held any more, by a predecessor neither.
  void clear();

 private:
  void write();

  std::filesystem::path path_;  ///< empty where there is no place for it
  std::set<Key> held_;
  std::set<Key> written_;
};

}  // namespace vesk::keys
