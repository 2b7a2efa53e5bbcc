#pragma once

#include <string>
#include <string_view>

namespace vesk::agent {

/// 256 bits of the system's random source, in base64url. Throws std::system_error when it has none.
std::string randomToken();

/// Whether a text has the form of one.
bool isToken(std::string_view text);

/// The key in the page's address. The first browser that gives it has it for good, so that its
/// reloads go on while nobody else gets in with the same address.
///
/// Thread: one. Owns: the key, and the token in that browser's cookie.
class PageKey {
 public:
  PageKey() : text_(randomToken()) {}

  const std::string& text() const { return text_; }

  enum class Admission { granted, wrongKey, noCookie, otherBrowser };

  /// `browser` is the token in its cookie, empty without one. How long the comparison takes tells
  /// nothing about the key.
  Admission admit(std::string_view key, std::string_view browser);

 private:
  std::string text_;
  std::string browser_;  ///< empty until the first one has come
};

}  // namespace vesk::agent
