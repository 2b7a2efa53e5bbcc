#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vesk::agent {

/// 256 bits of the system's random source, in base64url. Throws std::system_error when it has none.
std::string randomToken();

/// Whether a text has the form of one.
bool isToken(std::string_view text);

/// The key in the page's address. The first browser that gives it has it for good, so that its
/// reloads go on while nobody else gets in with the same address.
///
/// Thread: one. Owns: the key, and the tokens in that browser's cookies.
class PageKey {
 public:
  PageKey() : text_(randomToken()) {}

  const std::string& text() const { return text_; }

  enum class Admission { granted, wrongKey, noCookie, otherBrowser };

  using Tokens = std::vector<std::string_view>;

  /// `browser` are the tokens in its cookies: one is the agent's, the others anybody's who serves
  /// pages at this address, so that any one of those that the first browser had will do. How long
  /// the comparison takes tells nothing about the key.
  Admission admit(std::string_view key, const Tokens& browser);

 private:
  std::string text_;
  std::vector<std::string> browser_;  ///< empty until the first one has come
};

}  // namespace vesk::agent
