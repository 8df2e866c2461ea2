#include <zant/velmora_host/settings/properties_text.hpp>

#include <Poco/Util/PropertyFileConfiguration.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

namespace zant::velmora_host {

bool operator==(const Properties_Line& left, const Properties_Line& right) {
  return left.number == right.number && left.has_separator == right.has_separator && left.key == right.key &&
         left.value == right.value;
}

void PrintTo(const Properties_Line& line, std::ostream* stream) {
  *stream << line.number << ": " << line.key << (line.has_separator ? " = " : " ") << line.value;
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Properties_Line setting(std::size_t number, const std::string& key, const std::string& value) {
  return {number, true, key, value};
}

TEST(PropertiesText, HasALineForEachSetting) {
  EXPECT_THAT(parse_properties("a = 1\nb: 2\n c=3"),
              ElementsAre(setting(1, "a", "1"), setting(2, "b", "2"), setting(3, "c", "3")));
}

TEST(PropertiesText, LeavesOutCommentsAndBlankLinesButCountsThem) {
  EXPECT_THAT(parse_properties("# one\n\n  ! three = 3\n \t\na = 5\n#six"),
              ElementsAre(setting(5, "a", "5")));
}

TEST(PropertiesText, IsNothingWithoutALine) {
  EXPECT_THAT(parse_properties(""), IsEmpty());
  EXPECT_THAT(parse_properties(" \n\t\n"), IsEmpty());
  EXPECT_THAT(parse_properties("#"), IsEmpty());
}

TEST(PropertiesText, TellsLinesWithoutASeparator) {
  EXPECT_THAT(parse_properties("a = 1\n minder.interval 60 \nb = 3\n"),
              ElementsAre(setting(1, "a", "1"), Properties_Line{2, false, "minder.interval 60", ""},
                          setting(3, "b", "3")));
  EXPECT_THAT(parse_properties("a"), ElementsAre(Properties_Line{1, false, "a", ""}));
}

TEST(PropertiesText, SplitsAtTheFirstSeparator) {
  EXPECT_THAT(parse_properties("a = b = c\nd = e: f\ng: h = i"),
              ElementsAre(setting(1, "a", "b = c"), setting(2, "d", "e: f"), setting(3, "g", "h = i")));
}

TEST(PropertiesText, MayHaveEmptyKeysAndValues) {
  EXPECT_THAT(parse_properties("= 1\na =\n:"),
              ElementsAre(setting(1, "", "1"), setting(2, "a", ""), setting(3, "", "")));
}

TEST(PropertiesText, ContinuesAfterABackslashAndCountsOn) {
  EXPECT_THAT(parse_properties("a = 1 \\\n  2\\\r\n3\\\r4\nb = 5"),
              ElementsAre(setting(1, "a", "1   234"), setting(5, "b", "5")));
}

TEST(PropertiesText, ResolvesEscapesInValuesOnly) {
  EXPECT_THAT(parse_properties("a\\n = 1\\t2\\n3\\r4\\f5\\\\6\\:7\\x8"),
              ElementsAre(setting(1, "a\\n", "1\t2\n3\r4\f5\\6:7x8")));
}

TEST(PropertiesText, MayEndWithABackslash) {
  EXPECT_THAT(parse_properties("a = 1\\"), ElementsAre(setting(1, "a", "1")));
}

TEST(PropertiesText, KnowsTheLineEndsOfAllSystems) {
  EXPECT_THAT(
      parse_properties("a = 1\r\nb = 2\rc = 3\n# d\r\ne = 5"),
      ElementsAre(setting(1, "a", "1"), setting(2, "b", "2"), setting(3, "c", "3"), setting(5, "e", "5")));
}

TEST(PropertiesText, MayBeginWithAByteOrderMark) {
  EXPECT_THAT(parse_properties("\xef\xbb\xbf# comment\na = 2"), ElementsAre(setting(2, "a", "2")));
}

class PropertiesExample : public ::testing::TestWithParam<const char*> {};

TEST_P(PropertiesExample, IsReadAsPocoReadsIt) {
  std::istringstream stream(GetParam());
  Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> poco(
      new Poco::Util::PropertyFileConfiguration(stream));
  for (const auto& line : parse_properties(GetParam())) {
    EXPECT_EQ(poco->getRawString(line.key), line.value) << line.key;
  }
}

INSTANTIATE_TEST_SUITE_P(, PropertiesExample,
                         ::testing::Values("a = 1\nb: 2\n", "a = b\\\n  c\\\r\n d\ne = \\#\\=\\:",
                                           "a=\\t x \\n\n", "  a  =  b  \n#c = d\n!e = f\ng",
                                           "a = 1\r\nb = 2\rc = 3", "a = C:\\\\x\\\\y", "a == b", "a = b\\"));

}  // namespace
}  // namespace zant::velmora_host
