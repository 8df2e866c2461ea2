#include <zant/velmora_host/services/windows/code_page.hpp>

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace zant::velmora_host {
namespace {

TEST(CodePage, TellsUtf8FromOtherTexts) {
  EXPECT_TRUE(code_page::is_utf8("tête ξ 🚀"));
  EXPECT_TRUE(code_page::is_utf8(""));
  EXPECT_FALSE(code_page::is_utf8("a\xff"));
  EXPECT_FALSE(code_page::is_utf8("cut \xc3"));
}

TEST(CodePage, LeavesTextOfTheConsoleThatIsUtf8AsItIs) {
  EXPECT_EQ(code_page::utf8_of_console("tête"), "tête");
  EXPECT_EQ(code_page::utf8_of_console(""), "");
}

TEST(CodePage, ConvertsTextOfTheConsoleThatIsNotUtf8) {
  const std::string converted = code_page::utf8_of_console("a\xa4z");

  EXPECT_TRUE(converted.starts_with('a') && converted.ends_with('z'));
  EXPECT_TRUE(code_page::is_utf8(converted));
}

TEST(CodePage, KnowsWhatItHas) {
  EXPECT_TRUE(code_page::has_all_of("C:\\Program Files (x86)"));
  // No code page of one country has both.
  EXPECT_EQ(code_page::has_all_of("ξ 語"), ::GetACP() == CP_UTF8);
}

}  // namespace
}  // namespace zant::velmora_host
