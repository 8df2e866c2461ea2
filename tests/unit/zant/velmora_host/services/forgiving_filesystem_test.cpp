#include <zant/velmora_host/services/forgiving_filesystem.hpp>

#include <support/captured_log.hpp>
#include <support/host_side/fake_host_filesystem.hpp>

#include <zant/logging/severity_level.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// A disk that answers no question.
class Silent_Disk : public test_support::Fake_Host_Filesystem {
 public:
  bool exists(const Path& /*path*/) override { fail_(); }
  bool is_empty(const Path& /*path*/) override { fail_(); }
  std::vector<Path> list_files(const Path& /*directory*/, const std::string& /*extension*/) override {
    fail_();
  }
  std::string read_file(const Path& /*path*/, int /*read_flag*/) override { fail_(); }
  bool files_equal(const Path& /*first*/, const Path& /*second*/) override { fail_(); }
  std::string stamp_of(const Path& /*path*/) override { fail_(); }
  bool has_common_access(const Path& /*path*/) override { fail_(); }
  File_Type type_of(const Path& /*path*/) override { fail_(); }
  std::vector<Path> list_entries(const Path& /*directory*/) override { fail_(); }

 private:
  [[noreturn]] static void fail_() {
    throw std::system_error(std::make_error_code(std::errc::io_error), "Cannot look");
  }
};

TEST(ForgivingFilesystem, TakesForMissingWhatCannotBeLookedAtAndSaysSo) {
  const velmora::test_support::Captured_Log log;
  Forgiving_Filesystem files(std::make_shared<Silent_Disk>());

  EXPECT_FALSE(files.exists("/a"));
  EXPECT_FALSE(files.is_empty("/a"));
  EXPECT_THAT(files.list_files("/a", ".list"), IsEmpty());
  EXPECT_EQ(files.read_file("/a", velmora::Read_Flag::WHOLE_TEXT), "");
  EXPECT_FALSE(files.files_equal("/a", "/a"));
  EXPECT_EQ(files.stamp_of("/a"), "");
  EXPECT_FALSE(files.has_common_access("/a"));
  EXPECT_EQ(files.type_of("/a"), File_Type::NONE);
  EXPECT_THAT(files.list_entries("/a"), IsEmpty());

  const auto warnings = log.messages(static_cast<int>(zant::logging::severity_level::warning));
  EXPECT_THAT(warnings, SizeIs(9));
  EXPECT_THAT(warnings, Each("Cannot look: Input/output error"));
}

TEST(ForgivingFilesystem, ActsAsTheRealOneDoes) {
  const auto disk = std::make_shared<Silent_Disk>();
  disk->fake().add_directory("/etc");
  Forgiving_Filesystem files(disk);

  EXPECT_TRUE(files.write_file("/etc/a", "text", velmora::Write_Flag::REPLACE));
  EXPECT_EQ(disk->fake().contents("/etc/a"), "text");
  EXPECT_FALSE(files.move("/etc/missing", "/etc/b"));
}

}  // namespace
}  // namespace zant::velmora_host
