#include <zant/velmora_host/observation/stalled_installation.hpp>

#include <support/host_side/debian_host.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

class StalledInstallation : public ::testing::Test {
 protected:
  StalledInstallation() { host.services.filesystem->create_directories(file.parent_path()); }

  test_support::Debian_Host host;
  const boost::filesystem::path file = stalled_installation::file_in("/var/lib/package-minder");
};

TEST_F(StalledInstallation, IsReadAsItWasWritten) {
  const Stalled_Installation stalled = {"apt-get install x",
                                        std::chrono::system_clock::from_time_t(1800000000)};
  ASSERT_TRUE(stalled_installation::write(*host.services.filesystem, file, stalled));

  EXPECT_EQ(file, "/var/lib/package-minder/installation.json");
  EXPECT_EQ(stalled_installation::read(*host.services.filesystem, file), stalled);
  EXPECT_EQ(host.read("/var/lib/package-minder/installation.json"),
            "{\n  \"format\": \"package-minder/installation\",\n  \"version\": 1,\n"
            "  \"command\": \"apt-get install x\",\n  \"since\": \"2027-01-15T08:00:00Z\"\n}\n");
}

TEST_F(StalledInstallation, LeavesNoFileWhenItIsOver) {
  stalled_installation::write(*host.services.filesystem, file, Stalled_Installation{"x", {}});
  ASSERT_TRUE(stalled_installation::write(*host.services.filesystem, file, std::nullopt));

  EXPECT_FALSE(host.services.filesystem->exists(file));
  EXPECT_EQ(stalled_installation::read(*host.services.filesystem, file), std::nullopt);
}

TEST_F(StalledInstallation, IsNoneInADamagedFile) {
  for (const char* const text :
       {"", "{", "[]", "{\"command\": 1}", "{\"command\": \"x\", \"since\": \"soon\"}"}) {
    host.write(file.string(), text);
    EXPECT_EQ(stalled_installation::read(*host.services.filesystem, file), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace zant::velmora_host
