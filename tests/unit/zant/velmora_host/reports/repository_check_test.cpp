#include <zant/velmora_host/reports/repository_check.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OtherAptListings : public ::testing::Test {
 protected:
  std::vector<std::string> codes(const std::string& file, const std::string& text) {
    files_.add_file(file, text);
    std::vector<std::string> codes;
    for (const auto& finding : find_other_apt_listings(files_, "https://repo.velmora.test/apt/", "stable")) {
      EXPECT_EQ(finding.where, file);
      codes.push_back(finding.code);
    }
    return codes;
  }

  static constexpr const char* OTHER = "/etc/apt/sources.list.d/other.list";
  static constexpr const char* STANZAS = "/etc/apt/sources.list.d/other.sources";
  velmora::test_support::Fake_Filesystem files_;
};

TEST_F(OtherAptListings, AreNotOurOwn) {
  EXPECT_THAT(
      codes("/etc/apt/sources.list.d/zant-velmora.list", "deb https://repo.velmora.test/apt/ stable main\n"),
      IsEmpty());
}

TEST_F(OtherAptListings, WithAnotherKeyBreakApt) {
  EXPECT_THAT(codes(OTHER, "deb [arch=amd64 signed-by=/k.gpg] https://repo.velmora.test/apt stable main\n"),
              ElementsAre("repository.listed_with_another_key"));
}

TEST_F(OtherAptListings, WithoutAKeyAreASecondListing) {
  EXPECT_THAT(codes("/etc/apt/sources.list", "# mine\ndeb   https://repo.velmora.test/apt stable main\n"),
              ElementsAre("repository.listed_twice"));
}

TEST_F(OtherAptListings, OfAnotherSuiteOrAddressAreNobodysBusiness) {
  EXPECT_THAT(codes(OTHER,
                    "deb https://repo.velmora.test/apt testing main\n"
                    "deb https://repo.velmora.test/other stable main\n"
                    "#deb https://repo.velmora.test/apt stable main\n"
                    "deb\ndeb [broken https://repo.velmora.test/apt\n"),
              IsEmpty());
}

TEST_F(OtherAptListings, AreFoundInStanzas) {
  EXPECT_THAT(
      codes(STANZAS,
            "# ours\nTypes: deb\nURIs: https://a.test/\n https://repo.velmora.test/apt\nSuites: old stable\n"
            "Components: main\nSigned-By: /k.gpg\n"),
      ElementsAre("repository.listed_with_another_key"));
}

TEST_F(OtherAptListings, InStanzasThatAreSwitchedOffDoNotCount) {
  EXPECT_THAT(codes(STANZAS, "Enabled: no\nURIs: https://repo.velmora.test/apt/\nSuites: stable\n"),
              IsEmpty());
}

class OtherDnfListings : public ::testing::Test {
 protected:
  Findings find(const std::string& file, const std::string& text) {
    files_.add_file(file, text);
    return find_other_dnf_listings(files_, "https://repo.velmora.test/yum/production/");
  }

  velmora::test_support::Fake_Filesystem files_;
};

TEST_F(OtherDnfListings, AreNotOurOwn) {
  EXPECT_THAT(find("/etc/yum.repos.d/quorvane.repo",
                   "[quorvane]\nbaseurl=https://repo.velmora.test/yum/production/\n"),
              IsEmpty());
}

TEST_F(OtherDnfListings, OfTheSameAddressAreFound) {
  const auto findings =
      find("/etc/yum.repos.d/other.repo", "[other]\nbaseurl = https://repo.velmora.test/yum/production\n");

  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].code, "repository.listed_twice");
}

TEST_F(OtherDnfListings, OfTheSameIdAreFound) {
  const auto findings = find("/etc/yum.repos.d/other.repo", "[quorvane]\nbaseurl=https://elsewhere.test/\n");

  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].code, "repository.id_used_twice");
}

}  // namespace
}  // namespace zant::velmora_host
