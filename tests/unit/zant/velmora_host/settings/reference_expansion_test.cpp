#include <zant/velmora_host/settings/reference_expansion.hpp>

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace zant::velmora_host {
namespace {

using Fault = Reference_Expansion::Fault;

Reference_Expansion::Result expand(const std::map<std::string, std::string>& values, const std::string& key) {
  return Reference_Expansion(values).expand(key);
}

TEST(ReferenceExpansion, LeavesTextWithoutReferencesAsItIs) {
  EXPECT_EQ(expand({{"a", "x $y {z} $"}}, "a").value, "x $y {z} $");
  EXPECT_EQ(expand({{"a", ""}}, "a").value, "");
}

TEST(ReferenceExpansion, PutsValuesInThePlaceOfReferences) {
  EXPECT_EQ(expand({{"a", "<${b}-${c}>"}, {"b", "1"}, {"c", "${b}2"}}, "a").value, "<1-12>");
}

TEST(ReferenceExpansion, LeavesReferencesToOtherThingsAsTheyAre) {
  const auto result = expand({{"a", "${x}${b}${}"}, {"b", "1"}}, "a");

  EXPECT_EQ(result.value, "${x}1${}");
  EXPECT_EQ(result.fault, Fault::NONE);
}

TEST(ReferenceExpansion, LeavesAReferenceWithoutAnEndAsItIs) {
  EXPECT_EQ(expand({{"a", "1${b"}, {"b", "2"}}, "a").value, "1${b");
}

TEST(ReferenceExpansion, FindsCircles) {
  EXPECT_EQ(expand({{"a", "${a}"}}, "a").fault, Fault::CIRCLE);
  EXPECT_EQ(expand({{"a", "${b}"}, {"b", "${c}"}, {"c", "${a}"}}, "b").fault, Fault::CIRCLE);
}

TEST(ReferenceExpansion, TakesAValueThatIsUsedTwiceForNoCircle) {
  const auto result = expand({{"a", "${b}${c}"}, {"b", "${c}"}, {"c", "1"}}, "a");

  EXPECT_EQ(result.value, "11");
  EXPECT_EQ(result.fault, Fault::NONE);
}

TEST(ReferenceExpansion, ExpandsTheSameKeyAgain) {
  Reference_Expansion expansion({{"a", "${b}"}, {"b", "1"}});

  EXPECT_EQ(expansion.expand("a").value, "1");
  EXPECT_EQ(expansion.expand("a").value, "1");
  EXPECT_EQ(expansion.expand("b").value, "1");
}

TEST(ReferenceExpansion, CutsLongValues) {
  EXPECT_EQ(expand({{"a", std::string(4096, 'x')}}, "a").fault, Fault::NONE);

  const auto result = expand({{"a", std::string(4097, 'x')}}, "a");
  EXPECT_EQ(result.fault, Fault::TOO_LONG);
  EXPECT_EQ(result.value.size(), 4096U);
}

TEST(ReferenceExpansion, ComesToAnEndWhereReferencesMultiply) {
  std::map<std::string, std::string> values{{"k0", "x"}, {"e0", ""}};
  for (int level = 1; level <= 26; ++level) {
    for (int reference = 0; reference < 100; ++reference) {
      values["k" + std::to_string(level)] += "${k" + std::to_string(level - 1) + "}";
      values["e" + std::to_string(level)] += "${e" + std::to_string(level - 1) + "}";
    }
  }

  EXPECT_EQ(expand(values, "k26").fault, Fault::TOO_LONG);
  EXPECT_EQ(expand(values, "e26").value, "");
}

TEST(ReferenceExpansion, RefusesReferencesThatArePutTogether) {
  EXPECT_EQ(expand({{"a", "${dollar}{b}"}, {"dollar", "$"}, {"b", "1"}}, "a").fault, Fault::HIDDEN);
  EXPECT_EQ(expand({{"a", "x${dollar}{c}"}, {"dollar", "$"}}, "a").fault, Fault::NONE);
}

}  // namespace
}  // namespace zant::velmora_host
