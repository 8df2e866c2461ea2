#include <zant/velmora_host/families/apt/source_lists.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OtherSourceLists : public ::testing::Test {
 protected:
  std::vector<std::string> codes(const std::string& file, const std::string& text) {
    files_.add_file(file, text);
    std::vector<std::string> codes;
    for (const auto& finding : find_other_source_lists(files_, "https://repo.velmora.test/apt/", "stable")) {
      EXPECT_EQ(finding.where, file);
      codes.push_back(finding.code);
    }
    return codes;
  }

  static constexpr const char* OTHER = "/etc/apt/sources.list.d/other.list";
  static constexpr const char* STANZAS = "/etc/apt/sources.list.d/other.sources";
  velmora::test_support::Fake_Filesystem files_;
};

TEST_F(OtherSourceLists, AreNotOurOwn) {
  EXPECT_THAT(
      codes("/etc/apt/sources.list.d/zant-velmora.list", "deb https://repo.velmora.test/apt/ stable main\n"),
      IsEmpty());
}

TEST_F(OtherSourceLists, WithAnotherKeyBreakApt) {
  EXPECT_THAT(codes(OTHER, "deb [arch=amd64 signed-by=/k.gpg] https://repo.velmora.test/apt stable main\n"),
              ElementsAre("repository.listed_with_another_key"));
}

TEST_F(OtherSourceLists, WithoutAKeyAreASecondListing) {
  EXPECT_THAT(codes("/etc/apt/sources.list", "# mine\ndeb   https://repo.velmora.test/apt stable main\n"),
              ElementsAre("repository.listed_twice"));
}

TEST_F(OtherSourceLists, OfAnotherSuiteOrAddressAreNobodysBusiness) {
  EXPECT_THAT(codes(OTHER,
                    "deb https://repo.velmora.test/apt testing main\n"
                    "deb https://repo.velmora.test/other stable main\n"
                    "#deb https://repo.velmora.test/apt stable main\n"
                    "deb\ndeb [broken https://repo.velmora.test/apt\n"),
              IsEmpty());
}

TEST_F(OtherSourceLists, AreFoundInStanzas) {
  EXPECT_THAT(
      codes(STANZAS,
            "# ours\nTypes: deb\nURIs: https://a.test/\n https://repo.velmora.test/apt\nSuites: old stable\n"
            "Components: main\nSigned-By: /k.gpg\n"),
      ElementsAre("repository.listed_with_another_key"));
}

TEST_F(OtherSourceLists, InStanzasThatAreSwitchedOffDoNotCount) {
  for (const char* word : {"false", "0", "off", "No", "without", "disable"}) {
    EXPECT_THAT(codes(STANZAS, std::string("Enabled: ") + word +
                                   "\nURIs: https://repo.velmora.test/apt/\nSuites: stable\n"),
                IsEmpty())
        << word;
  }
  EXPECT_THAT(codes(STANZAS, "Enabled: yes\nURIs: https://repo.velmora.test/apt/\nSuites: stable\n"),
              ElementsAre("repository.listed_twice"));
  EXPECT_THAT(codes(STANZAS, "Enabled: no\nURIs: https://repo.velmora.test/apt/\nSuites: stable\n"),
              IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host
