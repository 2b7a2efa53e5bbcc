#include "agent/server/PageKey.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <system_error>

namespace vesk::agent {
namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr std::size_t tokenBytes = 32;
constexpr unsigned bitsPerByte = 8;
constexpr unsigned bitsPerCharacter = 6;
constexpr std::size_t tokenLength =
    (tokenBytes * bitsPerByte + bitsPerCharacter - 1) / bitsPerCharacter;

bool isSame(std::string_view one, std::string_view other) {
  if (one.size() != other.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < one.size(); ++i) {
    difference |= static_cast<unsigned char>(one[i]) ^ static_cast<unsigned char>(other[i]);
  }
  return difference == 0;
}

}  // namespace

std::string randomToken() {
  std::array<unsigned char, tokenBytes> bytes{};
  if (::getentropy(bytes.data(), bytes.size()) != 0) {
    throw std::system_error(errno, std::generic_category(), "getentropy");
  }
  std::string token;
  std::uint32_t bits = 0;
  unsigned count = 0;
  const auto put = [&] { token.push_back(alphabet[(bits >> count) % alphabet.size()]); };
  for (const unsigned char byte : bytes) {
    bits = bits << bitsPerByte | byte;
    count += bitsPerByte;
    while (count >= bitsPerCharacter) {
      count -= bitsPerCharacter;
      put();
    }
  }
  bits <<= bitsPerCharacter - count;
  count = 0;
  put();
  return token;
}

bool isToken(std::string_view text) {
  return text.size() == tokenLength && text.find_first_not_of(alphabet) == std::string_view::npos;
}

PageKey::Admission PageKey::admit(std::string_view key, const Tokens& browser) {
  if (!isSame(key, text_)) return Admission::wrongKey;
  Tokens tokens = browser;
  std::erase_if(tokens, [](std::string_view token) { return !isToken(token); });
  if (tokens.empty()) return Admission::noCookie;
  if (browser_.empty()) browser_.assign(tokens.begin(), tokens.end());
  const bool isKnown = std::any_of(tokens.begin(), tokens.end(), [this](std::string_view token) {
    return std::any_of(browser_.begin(), browser_.end(),
                       [token](const std::string& bound) { return isSame(token, bound); });
  });
  return isKnown ? Admission::granted : Admission::otherBrowser;
}

}  // namespace vesk::agent
