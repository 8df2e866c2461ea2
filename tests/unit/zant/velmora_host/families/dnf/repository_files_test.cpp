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

std::vector<std::string> weak_options(const std::string& repository, const std::string& main = "") {
  std::vector<std::string> lines;
  for (const auto& finding : find_weak_options(repository, main)) {
    lines.push_back(finding.code + " " + to_string(finding));
  }
  return lines;
}

TEST(WeakOptions, AreNoneInOurOwnFile) {
  EXPECT_THAT(weak_options("[quorvane]\nenabled=1\ngpgcheck=1\nrepo_gpgcheck=0\n"), ::testing::IsEmpty());
}

TEST(WeakOptions, OfOurFileAreNamed) {
  EXPECT_THAT(
      weak_options("[quorvane]\nenabled = 0\ngpgcheck=no\nsslverify=False\nproxy_sslverify=off\n"),
      ::testing::ElementsAre(
          "repository.switched_off /etc/yum.repos.d/quorvane.repo: enabled is off: DNF does not read the "
          "repository: no upgrade arrives; delete the file: the next cycle writes it again",
          "repository.unsigned_accepted /etc/yum.repos.d/quorvane.repo: gpgcheck is off: packages are "
          "installed without a valid signature; delete the file: the next cycle writes it again",
          "repository.server_not_verified /etc/yum.repos.d/quorvane.repo: sslverify is off: anybody on "
          "the network can pose as the server; delete the file: the next cycle writes it again",
          "repository.server_not_verified /etc/yum.repos.d/quorvane.repo: proxy_sslverify is off: "
          "anybody on the network can pose as the proxy; delete the file: the next cycle writes it "
          "again"));
}

TEST(WeakOptions, OfDnfsOwnConfigurationHoldWhereOurFileSaysNothing) {
  EXPECT_THAT(
      weak_options("[quorvane]\ngpgcheck=1\n", "[main]\ngpgcheck=0\nsslverify=0\nenabled=0\n"),
      ::testing::ElementsAre("repository.server_not_verified /etc/dnf/dnf.conf: sslverify is off: anybody "
                             "on the network can pose as the server; remove it from that file"));
  EXPECT_THAT(weak_options("[quorvane]\n", "[main]\ngpgcheck=1\n"), ::testing::IsEmpty());
}

TEST(WeakOptions, AreThereByDnfsDefaultWhenNothingIsSaid) {
  EXPECT_THAT(
      weak_options("[quorvane]\n"),
      ::testing::ElementsAre("repository.unsigned_accepted /etc/yum.repos.d/quorvane.repo: gpgcheck is not "
                             "set: packages are installed without a valid signature; delete the file: "
                             "the next cycle writes it again"));
}

}  // namespace
}  // namespace zant::velmora_host
