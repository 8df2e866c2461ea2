#include <zant/velmora_host/staging/staging_tree.hpp>

#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/captured_log.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>
#include <support/host_side/staging_example.hpp>

#include <fstream>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StagingTree : public ::testing::Test {
 protected:
  StagingTree() { test_support::make_staging_tree(tree()); }

  path tree() const { return directory_.path() / "staging"; }
  path at(const std::string& name) const { return tree() / name; }

  void given_file(const std::string& name, const std::string& text) const {
    std::ofstream(at(name).string(), std::ios::trunc) << text;
  }

  std::vector<std::string> faults() const {
    std::vector<std::string> texts;
    for (const auto& finding : find_staging_tree_faults(tree(), layout_)) {
      texts.push_back(to_string(finding));
    }
    return texts;
  }

  const Staging_Layout layout_ = Family_Registry::built_in().staging_layout();
  Temporary_Directory directory_;
  velmora::test_support::Captured_Log log_;
};

TEST_F(StagingTree, ThatLacksNothingHasNoFault) {
  EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(StagingTree, ThatIsShippedHasNoFault) {
  boost::filesystem::remove_all(tree());
  copy_staging_tree(SHIPPED_STAGING_TREE, tree());

  EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(StagingTree, ThatIsMissingIsNamed) {
  boost::filesystem::remove_all(tree());

  EXPECT_THAT(faults(),
              ElementsAre(tree().string() +
                          ": this directory, the staging tree, is missing; install it, or name another one "
                          "with minder.staging_directory"));
}

TEST_F(StagingTree, ThatIsAFileIsNoTree) {
  boost::filesystem::remove_all(tree());
  std::ofstream(tree().string()) << "text";

  EXPECT_EQ(faults().size(), 1U);
}

class MissingFile : public StagingTree, public ::testing::WithParamInterface<const char*> {};

TEST_P(MissingFile, IsNamed) {
  boost::filesystem::remove(at(GetParam()));

  ASSERT_EQ(faults().size(), 1U);
  EXPECT_THAT(faults().front(), ::testing::StartsWith(at(GetParam()).string() + ": this "));
}

INSTANTIATE_TEST_SUITE_P(, MissingFile,
                         ::testing::Values("config-files/apt/20auto-upgrades",
                                           "config-files/apt/templates/zant-velmora.list.template",
                                           "config-files/apt/templates/50unattended-upgrades.template",
                                           "config-files/apt/templates/75lowerspeed.template",
                                           "config-files/apt/templates/zant-on-calendar.conf.template",
                                           "config-files/apt/templates/zant-randomized-delay.conf.template",
                                           "config-files/dnf/templates/quorvane.repo.template",
                                           "config-files/dnf/templates/zant-on-calendar.conf.template",
                                           "config-files/dnf/templates/zant-randomized-delay.conf.template"));

TEST_F(StagingTree, WithoutAKeyringHasAFaultOfItsOwn) {
  boost::filesystem::remove(at("keyrings/zant-velmora.gpg"));

  EXPECT_THAT(faults(), IsEmpty()) << "only APT hosts need it";
  const Findings findings = find_keyring_faults(tree(), layout_);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(to_string(findings[0]),
            at("keyrings/zant-velmora.gpg").string() +
                ": the keyring of the repository is missing; put the repository's public "
                "keys there, binary, as \"gpg --export\" writes them");
}

TEST_F(StagingTree, WithAKeyringHasNoSuchFault) {
  EXPECT_EQ(find_keyring_faults(tree(), layout_).size(), 0U);
}

class BadTemplate : public StagingTree, public ::testing::WithParamInterface<const char*> {};

TEST_P(BadTemplate, IsNamed) {
  const std::string name = "config-files/apt/templates/75lowerspeed.template";
  given_file(name, GetParam());

  ASSERT_EQ(faults().size(), 1U);
  EXPECT_THAT(faults().front(),
              ::testing::StartsWith(at(name).string() + ": this template cannot be filled: "));
  EXPECT_THAT(faults().front(),
              ::testing::EndsWith("; write literal braces twice, and no more placeholders than "
                                  "the file has values"));
}

INSTANTIATE_TEST_SUITE_P(, BadTemplate,
                         ::testing::Values("{", "}", "text {} {", "{} {}", "{1}", "{0:s}", "{name}", "{}}",
                                           "{:>1000}", "{:}>2000000000}", "{0:{0}}", "{:{}}"));

TEST_F(StagingTree, WithATemplateThatPadsItsValuesIsAllRight) {
  given_file("config-files/apt/templates/75lowerspeed.template",
             "// 2026 {{12345}} {0:>999} {0:}<8} 65535\n");

  EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(StagingTree, WithATemplateThatUsesFewerValuesIsAllRight) {
  given_file("config-files/apt/templates/zant-velmora.list.template", "deb {1} {{literal}} {1}\n");

  EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(StagingTree, ThatOthersMayWriteToIsRefused) {
  namespace fs = boost::filesystem;
  const path file = at("config-files/apt/20auto-upgrades");
  fs::permissions(file, fs::add_perms | fs::others_write);

  EXPECT_THAT(faults(), ElementsAre(file.string() +
                                    ": may be changed by others (mode 0646); its files are installed on the "
                                    "host: it must belong to root, and nobody else may write to it"));
}

TEST_F(StagingTree, WhoseDirectoriesOthersMayWriteToIsRefused) {
  namespace fs = boost::filesystem;
  fs::permissions(at("keyrings"), fs::add_perms | fs::others_write);
  EXPECT_EQ(faults().size(), 1U);
  fs::permissions(at("keyrings"), fs::remove_perms | fs::others_write);

  fs::permissions(tree(), fs::add_perms | fs::others_write);
  EXPECT_EQ(faults().size(), 1U);
}

TEST_F(StagingTree, BelowADirectoryOfOthersIsRefusedBeforeAnythingIsRead) {
  namespace fs = boost::filesystem;
  fs::create_directory(directory_.path() / "others");
  fs::rename(tree(), directory_.path() / "others" / "staging");
  fs::permissions(directory_.path() / "others", fs::add_perms | fs::others_write);
  const path moved = directory_.path() / "others" / "staging";
  fs::remove(moved / "config-files/apt/20auto-upgrades");

  const Findings findings = find_staging_tree_faults(moved, layout_);

  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0].code, "staging.writable_by_others");
  EXPECT_THAT(findings[0].what, ::testing::StartsWith("can be replaced: " + moved.parent_path().string()));
}

TEST_F(StagingTree, WithALinkToADirectoryIsRefused) {
  boost::filesystem::create_directory_symlink("config-files", at("loop"));

  EXPECT_THAT(faults(), ElementsAre(at("loop").string() +
                                    ": is neither a file nor a directory; remove it from the staging tree"));
}

TEST_F(StagingTree, IsCopiedWithAllItsFiles) {
  File_Service files;
  const path copy = directory_.path() / "copy";

  copy_staging_tree(tree(), copy);

  EXPECT_TRUE(files.files_equal(at("keyrings/zant-velmora.gpg"), copy / "keyrings/zant-velmora.gpg"));
  EXPECT_TRUE(files.files_equal(at("config-files/dnf/templates/quorvane.repo.template"),
                                copy / "config-files/dnf/templates/quorvane.repo.template"));
}

TEST_F(StagingTree, ThatCannotBeCopiedSaysSo) {
  EXPECT_THROW(copy_staging_tree(tree(), at("missing/copy")), std::runtime_error);
}

}  // namespace
}  // namespace zant::velmora_host
