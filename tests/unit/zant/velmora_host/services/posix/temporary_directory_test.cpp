#include <zant/velmora_host/services/temporary_directory.hpp>

#include <zant/velmora_host/services/directory_claim.hpp>

#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <string>

namespace zant::velmora_host {
namespace {

namespace fs = boost::filesystem;

fs::path new_directory(const std::string& name) {
  const fs::path directory = fs::temp_directory_path() / fs::unique_path(name + "-%%%%%%");
  fs::create_directory(directory);
  return directory;
}

TEST(TemporaryDirectory, IsDeletedAtTheEndWithAllThatIsInIt) {
  fs::path path;
  {
    const Temporary_Directory directory;
    path = directory.path();
    fs::create_directories(path / "in" / "it");
  }
  EXPECT_FALSE(fs::exists(path));
}

TEST(TemporaryDirectory, OfAKilledProcessIsDeletedByTheNext) {
  const fs::path abandoned = new_directory("package-minder-private");
  fs::create_directories(abandoned / "staging");

  Temporary_Directory::delete_abandoned();

  EXPECT_FALSE(fs::exists(abandoned));
}

TEST(TemporaryDirectory, OfALivingProcessIsLeftAlone) {
  const Temporary_Directory living;
  const fs::path claimed = new_directory("package-minder-private");
  const auto claim = claim_directory(claimed);
  ASSERT_TRUE(claim);

  Temporary_Directory::delete_abandoned();

  EXPECT_TRUE(fs::exists(living.path()));
  EXPECT_TRUE(fs::exists(claimed));
  fs::remove(claimed);
}

TEST(TemporaryDirectory, OfAnotherProgramIsLeftAlone) {
  const fs::path other = new_directory("package-minder");

  Temporary_Directory::delete_abandoned();

  EXPECT_TRUE(fs::exists(other));
  fs::remove(other);
}

TEST(TemporaryDirectory, IsNoLinkToAnother) {
  const fs::path target = new_directory("target");
  const fs::path link = fs::temp_directory_path() / fs::unique_path("package-minder-private-%%%%%%");
  fs::create_symlink(target, link);

  Temporary_Directory::delete_abandoned();

  EXPECT_TRUE(fs::exists(target));
  fs::remove(link);
  fs::remove(target);
}

TEST(DirectoryClaim, IsOneProcesssAlone) {
  const fs::path directory = new_directory("claimed");
  auto first = claim_directory(directory);

  EXPECT_TRUE(first);
  EXPECT_FALSE(claim_directory(directory));
  first.reset();
  EXPECT_TRUE(claim_directory(directory));
  fs::remove(directory);
}

TEST(DirectoryClaim, IsOfADirectory) {
  EXPECT_FALSE(claim_directory("/nowhere"));
  EXPECT_FALSE(claim_directory("/etc/hostname"));
}

}  // namespace
}  // namespace zant::velmora_host
