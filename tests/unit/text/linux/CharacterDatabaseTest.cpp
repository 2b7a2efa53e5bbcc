#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "text/CharacterStarts.h"

namespace vesk::VESK_FILE {
namespace {

/// Cases as the Unicode consortium writes them: "÷" stands where a character begins, "×" where none
/// does, and between them a code point in hexadecimal digits.
struct Case {
  std::u32string text;
  std::string starts;
};

Case caseOf(const std::string& line) {
  Case read;
  std::istringstream words(line.substr(0, line.find('#')));
  for (std::string mark, number; words >> mark >> number;) {
    read.text += static_cast<char32_t>(std::stoul(number, nullptr, 16));
    read.starts += mark == "÷" ? '1' : '0';
  }
  return read;
}

TEST(CharacterDatabaseTest, AgreesWhereCharactersBegin) {
  std::ifstream cases("/usr/share/unicode/auxiliary/GraphemeBreakTest.txt");
  int count = 0;
  for (std::string line; std::getline(cases, line);) {
    const Case each = caseOf(line);
    if (each.text.empty()) continue;
    ++count;
    CharacterStarts starts;
    std::string found;
    for (const char32_t next : each.text) found += starts.startsCharacter(next) ? '1' : '0';
    EXPECT_EQ(found, each.starts) << line;
  }
  EXPECT_GT(count, 500);
}

}  // namespace
}  // namespace vesk::VESK_FILE
