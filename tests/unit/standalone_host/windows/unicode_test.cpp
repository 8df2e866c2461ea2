#include <standalone_host/windows/unicode.hpp>

#include <gtest/gtest.h>

#include <windows.h>

#include <system_error>

using namespace zant::velmora::standalone_host;

namespace {

TEST(Unicode, GoesToWideAndBack) {
  const std::string text = "tête ξ 🚀";

  EXPECT_EQ(Unicode::to_wide(text), L"tête ξ 🚀");
  EXPECT_EQ(Unicode::to_utf8(Unicode::to_wide(text)), text);
  EXPECT_EQ(Unicode::to_wide(""), L"");
  EXPECT_EQ(Unicode::to_utf8(L""), "");
}

TEST(Unicode, RefusesATextThatIsNotUtf8) {
  EXPECT_THROW(Unicode::to_wide("a\xff"), std::system_error);
}

TEST(Unicode, LeavesTextOfTheConsoleThatIsUtf8AsItIs) {
  EXPECT_EQ(Unicode::console_text_to_utf8("tête"), "tête");
  EXPECT_EQ(Unicode::console_text_to_utf8(""), "");
}

TEST(Unicode, ConvertsTextOfTheConsoleThatIsNotUtf8) {
  const std::string converted = Unicode::console_text_to_utf8("a\xa4z");

  EXPECT_TRUE(converted.starts_with('a') && converted.ends_with('z'));
  EXPECT_NO_THROW(Unicode::to_wide(converted));
}

TEST(Unicode, KnowsWhatIsInTheCodePage) {
  EXPECT_TRUE(Unicode::is_in_code_page("C:\\Program Files (x86)"));
  // No code page of one country has both.
  EXPECT_EQ(Unicode::is_in_code_page("ξ 語"), ::GetACP() == CP_UTF8);
}

}  // namespace
