#include <zant/velmora_host/settings/package_patterns.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zant::velmora_host::package_patterns {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(PackagePatterns, AreSeparatedByBlanks) {
  EXPECT_THAT(split(" a*\tb  c? "), ElementsAre("a*", "b", "c?"));
  EXPECT_THAT(split(""), IsEmpty());
  EXPECT_THAT(split(" \t"), IsEmpty());
}

TEST(PackagePatterns, AllowThePackageOfTheirName) {
  EXPECT_TRUE(allows("bash", "bash"));
  EXPECT_FALSE(allows("bash", "bas"));
  EXPECT_FALSE(allows("bash", "bashful"));
  EXPECT_FALSE(allows("Bash", "bash"));
}

TEST(PackagePatterns, AllowAnyCharactersForAStar) {
  EXPECT_TRUE(allows("bash*", "bash"));
  EXPECT_TRUE(allows("*a*b", "aabb"));
  EXPECT_TRUE(allows("**", "bash"));
  EXPECT_TRUE(allows("b*a*h", "banshah"));
  EXPECT_FALSE(allows("b*a", "bash"));
  EXPECT_FALSE(allows("*c*", "bash"));
}

TEST(PackagePatterns, AllowOneCharacterForAQuestionMark) {
  EXPECT_TRUE(allows("b?sh", "bash"));
  EXPECT_FALSE(allows("bash?", "bash"));
  EXPECT_FALSE(allows("?bash", "bash"));
}

TEST(PackagePatterns, AllowOneOfTheListedCharacters) {
  EXPECT_TRUE(allows("b[aeiou]sh", "bash"));
  EXPECT_TRUE(allows("b[a-c]sh", "bbsh"));
  EXPECT_TRUE(allows("b[a-]sh", "b-sh"));
  EXPECT_TRUE(allows("b[-a]sh", "b-sh"));
  EXPECT_TRUE(allows("*[x-z]", "abz"));
  EXPECT_FALSE(allows("b[b-z]sh", "bash"));
  EXPECT_FALSE(allows("b[a-c]sh", "b-sh"));
}

TEST(PackagePatterns, HaveWholeWildcardsAndCharactersOfNamesOnly) {
  for (const char* right : {"a", "A0", "a+b.c_d-e", "*", "?a", "[ab]c", "a[b-d]", "[a-z0-9]*"}) {
    EXPECT_TRUE(is_pattern(right)) << right;
  }
  for (const char* wrong : {"", "-a", "a b", "a[", "a[]", "a]", "[a*]", "[!a]", "a\\b", "a/b", "a{b}"}) {
    EXPECT_FALSE(is_pattern(wrong)) << wrong;
  }
}

}  // namespace
}  // namespace zant::velmora_host::package_patterns
