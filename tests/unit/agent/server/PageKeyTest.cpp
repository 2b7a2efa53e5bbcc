#include "agent/server/PageKey.h"

#include <gtest/gtest.h>

#include <set>

namespace vesk::agent::VESK_FILE {
namespace {

using Admission = PageKey::Admission;

TEST(PageKeyTest, TokensAreLongAndNeverTheSame) {
  constexpr std::size_t count = 200;
  std::set<std::string> tokens;
  std::set<char> characters;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string token = randomToken();
    EXPECT_EQ(token.size(), 43U);
    EXPECT_TRUE(isToken(token)) << token;
    characters.insert(token.begin(), token.end());
    tokens.insert(token);
  }
  EXPECT_EQ(tokens.size(), count);
  EXPECT_EQ(characters.size(), 64U);
}

TEST(PageKeyTest, ATokenHasItsLengthAndItsCharacters) {
  EXPECT_FALSE(isToken(""));
  EXPECT_FALSE(isToken(std::string(42, 'a')));
  EXPECT_TRUE(isToken(std::string(43, 'a')));
  EXPECT_FALSE(isToken(std::string(44, 'a')));
  EXPECT_FALSE(isToken(std::string(42, 'a') + "+"));
}

TEST(PageKeyTest, TheFirstBrowserWithTheKeyHasItForGood) {
  PageKey key;
  const std::string first = randomToken();
  const std::string second = randomToken();
  EXPECT_EQ(key.admit(key.text(), {first}), Admission::granted);
  EXPECT_EQ(key.admit(key.text(), {second}), Admission::otherBrowser);
  EXPECT_EQ(key.admit(key.text(), {first}), Admission::granted);
}

TEST(PageKeyTest, AnyOfTheFirstBrowsersTokensWillDo) {
  PageKey key;
  const std::string own = randomToken();
  const std::string foreign = randomToken();
  const std::string later = randomToken();
  EXPECT_EQ(key.admit(key.text(), {foreign, own}), Admission::granted);
  EXPECT_EQ(key.admit(key.text(), {own}), Admission::granted);
  EXPECT_EQ(key.admit(key.text(), {later, "short", own}), Admission::granted);
  EXPECT_EQ(key.admit(key.text(), {foreign}), Admission::granted);
  EXPECT_EQ(key.admit(key.text(), {later}), Admission::otherBrowser);
}

TEST(PageKeyTest, AWrongKeyBindsNobody) {
  PageKey key;
  std::string wrong = key.text();
  wrong.back() = wrong.back() == 'A' ? 'E' : 'A';
  for (const auto& text : {std::string(), wrong, key.text() + "A", key.text().substr(1)}) {
    EXPECT_EQ(key.admit(text, {randomToken()}), Admission::wrongKey) << text;
  }
  EXPECT_EQ(key.admit(key.text(), {randomToken()}), Admission::granted);
}

TEST(PageKeyTest, ABrowserWithoutACookieBindsNobody) {
  PageKey key;
  EXPECT_EQ(key.admit(key.text(), {}), Admission::noCookie);
  EXPECT_EQ(key.admit(key.text(), {""}), Admission::noCookie);
  EXPECT_EQ(key.admit(key.text(), {"short"}), Admission::noCookie);
  EXPECT_EQ(key.admit(key.text(), {randomToken()}), Admission::granted);
  EXPECT_EQ(key.admit(key.text(), {""}), Admission::noCookie);
}

}  // namespace
}  // namespace vesk::agent::VESK_FILE
