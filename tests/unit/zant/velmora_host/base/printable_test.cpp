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

}  // namespace
}  // namespace zant::velmora_host
