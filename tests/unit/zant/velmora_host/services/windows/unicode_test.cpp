#include <zant/velmora_host/services/windows/unicode.hpp>

#include <gtest/gtest.h>

#include <windows.h>

#include <system_error>

using namespace zant::velmora_host;

namespace {

TEST(unicode, GoesToWideAndBack) {
  const std::string text = "tête ξ 🚀";

  EXPECT_EQ(unicode::to_wide(text), L"tête ξ 🚀");
  EXPECT_EQ(unicode::to_utf8(unicode::to_wide(text)), text);
  EXPECT_EQ(unicode::to_wide(""), L"");
  EXPECT_EQ(unicode::to_utf8(L""), "");
}

TEST(unicode, RefusesATextThatIsNotUtf8) {
  EXPECT_THROW(unicode::to_wide("a\xff"), std::system_error);
}

TEST(unicode, LeavesTextOfTheConsoleThatIsUtf8AsItIs) {
  EXPECT_EQ(unicode::console_text_to_utf8("tête"), "tête");
  EXPECT_EQ(unicode::console_text_to_utf8(""), "");
}

TEST(unicode, ConvertsTextOfTheConsoleThatIsNotUtf8) {
  const std::string converted = unicode::console_text_to_utf8("a\xa4z");

  EXPECT_TRUE(converted.starts_with('a') && converted.ends_with('z'));
  EXPECT_NO_THROW(unicode::to_wide(converted));
}

TEST(unicode, KnowsWhatIsInTheCodePage) {
  EXPECT_TRUE(unicode::is_in_code_page("C:\\Program Files (x86)"));
  // No code page of one country has both.
  EXPECT_EQ(unicode::is_in_code_page("ξ 語"), ::GetACP() == CP_UTF8);
}

}  // namespace
