#include <zant/velmora_host/base/printable.hpp>

#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host {
namespace {

using namespace std::string_literals;

TEST(Printable, LeavesOrdinaryTextAsItIs) {
  EXPECT_EQ(printable("Grüße, 100 % {}"), "Grüße, 100 % {}");
}

TEST(Printable, EscapesControlCharacters) {
  EXPECT_EQ(printable("a\nb\rc\td\x1b[31me\x7f\0"s), "a\\nb\\rc\\td\\x1b[31me\\x7f\\x00");
}

TEST(Printable, CutsWhatIsTooLong) {
  EXPECT_EQ(printable(std::string(200, 'x')), std::string(200, 'x'));
  EXPECT_EQ(printable(std::string(201, 'x')), std::string(200, 'x') + "[...]");
}

TEST(PrintableLines, PutsTheGivenTextBetweenLines) {
  EXPECT_EQ(printable_lines("a\nb\nc", " | "), "a | b | c");
}

TEST(PrintableLines, EscapesControlCharactersAndCutsNothing) {
  EXPECT_EQ(printable_lines(std::string(500, 'x') + "\x1b", " | "), std::string(500, 'x') + "\\x1b");
}

TEST(PrintableText, EscapesWhatATerminalObeysOrShowsInAnotherOrder) {
  EXPECT_EQ(printable("a\xc2\x9b"
                      "31mb\xc2\x85"),
            "a\\u009b31mb\\u0085");
  EXPECT_EQ(printable("\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069\u200e\u200f\u061c"),
            "\\u202a\\u202b\\u202c\\u202d\\u202e\\u2066\\u2067\\u2068\\u2069\\u200e\\u200f\\u061c");
  EXPECT_EQ(printable("a\u2028b\u2029"), "a\\u2028b\\u2029");
}

TEST(PrintableText, EscapesBytesThatAreNotUtf8) {
  EXPECT_EQ(printable("\xff\xc3(\xe2\x82"), "\\xff\\xc3(\\xe2\\x82");
  EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf") << "longer than it needs to be";
  EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "half of a pair";
  EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond the last character";
  EXPECT_EQ(printable("\xf0\x9f\x93\xa6"), "\xf0\x9f\x93\xa6");
}

TEST(PrintableText, IsNeverCutInsideACharacter) {
  EXPECT_EQ(printable(std::string(199, 'x') + "\u00e4" + "y"), std::string(199, 'x') + "[...]");
  EXPECT_EQ(printable(std::string(198, 'x') + "\u00e4" + "y"), std::string(198, 'x') + "\u00e4[...]");

  EXPECT_EQ(whole_beginning("a\u20acb", 3), "a");
  EXPECT_EQ(whole_beginning("a\u20acb", 4), "a\u20ac");
  EXPECT_EQ(whole_beginning("\x80\x80\x80\x80\x80", 4), "\x80\x80\x80\x80");
  EXPECT_EQ(whole_end("\x82\xac"
                      "b"),
            "b");
  EXPECT_EQ(whole_end("\u20ac"), "\u20ac");
}

TEST(PrintableText, KeepsTheLayoutOfAReport) {
  EXPECT_EQ(printable_report("a\n\tb\r\x1b\u202e\xff\n"), "a\n\tb\\r\\x1b\\u202e\\xff\n");
}

TEST(PrintableText, MeansTheSameInJson) {
  EXPECT_EQ(printable_json("{\n  \"a\": \"\x7f\xc2\x9b\u202e\u00e4\"\n}"),
            "{\n  \"a\": \"\\u007f\\u009b\\u202e\u00e4\"\n}");
}

TEST(PrintableText, IsPlainWithoutControlCharactersAndBytesThatAreNotUtf8) {
  EXPECT_TRUE(is_plain_text("Gr\u00fc\u00dfe"));
  EXPECT_FALSE(is_plain_text("a\tb"));
  EXPECT_FALSE(is_plain_text("a\xc2\x85"));
  EXPECT_FALSE(is_plain_text("a\xff"));
}

}  // namespace
}  // namespace zant::velmora_host
