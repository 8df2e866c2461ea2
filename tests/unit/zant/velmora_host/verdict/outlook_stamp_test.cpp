#include <zant/velmora_host/verdict/outlook_stamp.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <gtest/gtest.h>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include <set>
#include <string>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

class OutlookStamp : public ::testing::Test {
 protected:
  OutlookStamp() {
    boost::filesystem::create_directories(at("conf/parts"));
    write("conf/main", "a");
  }

  path at(const std::string& name) const { return directory_.path() / name; }
  void write(const std::string& name, const std::string& text) {
    boost::filesystem::ofstream(at(name)) << text;
  }
  std::string stamp() { return outlook_stamp({at("conf"), at("database")}, files_); }

  Temporary_Directory directory_;
  File_Service files_;
};

TEST_F(OutlookStamp, StaysWhileNothingChanges) {
  const auto before = stamp();
  write("elsewhere", "x");

  EXPECT_EQ(stamp(), before);
}

TEST_F(OutlookStamp, StaysWhenAFileComesAndGoes) {
  const auto before = stamp();
  write("conf/parts/journal", "x");
  boost::filesystem::remove(at("conf/parts/journal"));

  EXPECT_EQ(stamp(), before);
}

TEST_F(OutlookStamp, ChangesWithEachChange) {
  std::set<std::string> stamps = {stamp()};
  write("conf/main", "longer");
  stamps.insert(stamp());
  write("conf/parts/one", "new");
  stamps.insert(stamp());
  boost::filesystem::create_symlink(at("conf/parts/one"), at("conf/link"));
  stamps.insert(stamp());
  boost::filesystem::remove(at("conf/parts/one"));
  stamps.insert(stamp());
  write("database", "there");
  stamps.insert(stamp());

  EXPECT_EQ(stamps.size(), 6U);
}

TEST_F(OutlookStamp, ChangesWithTheTargetOfALink) {
  write("target", "a");
  boost::filesystem::create_symlink(at("target"), at("conf/link"));
  const auto before = stamp();

  write("target", "longer");

  EXPECT_NE(stamp(), before);
}

TEST(OutlookStampOfAnyFileService, IsMadeOfContentsWhereNothingElseTells) {
  test_support::Fake_Host_Filesystem files;
  files.fake().add_directory("/conf");
  files.write_file("/conf/main", "a", velmora::Write_Flag::REPLACE);
  const auto before = outlook_stamp({"/conf"}, files);
  EXPECT_EQ(outlook_stamp({"/conf"}, files), before);

  files.write_file("/conf/main", "b", velmora::Write_Flag::REPLACE);

  EXPECT_NE(outlook_stamp({"/conf"}, files), before);
}

}  // namespace
}  // namespace zant::velmora_host
