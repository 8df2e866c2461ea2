#include <zant/velmora_host/families/dnf/repository_files.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OtherRepositoryFiles : public ::testing::Test {
 protected:
  Findings find(const std::string& file, const std::string& text) {
    files_.add_file(file, text);
    return find_other_repository_files(files_, "https://repo.velmora.test/yum/production/");
  }

  velmora::test_support::Fake_Filesystem files_;
};

TEST_F(OtherRepositoryFiles, AreNotOurOwn) {
  EXPECT_THAT(find("/etc/yum.repos.d/quorvane.repo",
                   "[quorvane]\nbaseurl=https://repo.velmora.test/yum/production/\n"),
              IsEmpty());
}

TEST_F(OtherRepositoryFiles, OfTheSameAddressAreFound) {
  const auto findings =
      find("/etc/yum.repos.d/other.repo", "[other]\nbaseurl = https://repo.velmora.test/yum/production\n");

  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].code, "repository.listed_twice");
}

TEST_F(OtherRepositoryFiles, OfTheSameIdAreFound) {
  const auto findings = find("/etc/yum.repos.d/other.repo", "[quorvane]\nbaseurl=https://elsewhere.test/\n");

  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].code, "repository.id_used_twice");
}

TEST_F(OtherRepositoryFiles, ThatAreSwitchedOffDoNotCount) {
  for (const char* word : {"0", "no", "False", "off"}) {
    EXPECT_THAT(find("/etc/yum.repos.d/other.repo",
                     std::string("[other]\nbaseurl=https://repo.velmora.test/yum/production/\nenabled = ") +
                         word + "\n"),
                IsEmpty())
        << word;
  }
}

TEST_F(OtherRepositoryFiles, OfTheSameAddressAreFoundAmongSeveral) {
  const auto findings = find("/etc/yum.repos.d/other.repo",
                             "# mine\n[first]\nbaseurl=https://elsewhere.test/\n[second]\n"
                             "baseurl=https://mirror.test/,\n  https://repo.velmora.test/yum/production\n");

  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].where, "/etc/yum.repos.d/other.repo");
}

TEST(ExcludedPackages, AreThoseOfOurRepositoryAlone) {
  EXPECT_TRUE(excludes_packages("[quorvane]\nexclude=*\n"));
  EXPECT_TRUE(excludes_packages("[quorvane]\nexcludepkgs = zant-velmora\n"));
  EXPECT_FALSE(excludes_packages("[quorvane]\nexclude=\n"));
  EXPECT_FALSE(excludes_packages("[quorvane]\nbaseurl=x\n[other]\nexclude=*\n"));
  EXPECT_FALSE(excludes_packages("[quorvane]\n#exclude=*\n;exclude=*\n"));
  EXPECT_FALSE(excludes_packages("exclude=*\n"));
  EXPECT_FALSE(excludes_packages(""));
}

}  // namespace
}  // namespace zant::velmora_host
