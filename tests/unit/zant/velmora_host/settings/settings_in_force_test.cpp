#include <zant/velmora_host/settings/settings_in_force.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

namespace zant::velmora_host {
namespace {

using ::testing::Contains;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;

class SettingsInForce : public ::testing::Test {
 protected:
  SettingsInForce() { filesystem_.create_directories("/state"); }

  velmora::test_support::Fake_Filesystem filesystem_;
};

TEST_F(SettingsInForce, AreThoseThatAreSetAndTheProcess) {
  Settings_Sources sources;
  sources.file = "/nowhere";
  sources.overrides = {{"minder.interval", "60"}, {"package.dnf.repo.baseurl", ""}};

  const auto in_force = settings_in_force::of_this_process(Settings(sources));

  EXPECT_EQ(in_force.process, std::to_string(::getpid()));
  EXPECT_THAT(in_force.values, Contains(Pair("minder.interval", "60")));
  EXPECT_THAT(in_force.values, Contains(Pair("minder.log.level", "info")));
  EXPECT_THAT(in_force.values, Not(Contains(Key("package.dnf.repo.baseurl"))));
  EXPECT_THAT(in_force.values, Not(Contains(Key("package.apt.repo.url"))));
}

TEST_F(SettingsInForce, AreReadAsTheyWereWritten) {
  const Settings_In_Force written{"17", {{"minder.interval", "60"}, {"minder.log.level", "info"}}};

  EXPECT_TRUE(settings_in_force::write(filesystem_, "/state", written));

  EXPECT_EQ(settings_in_force::read(filesystem_, "/state"), written);
  EXPECT_EQ(filesystem_.read_file("/state/settings-in-force.json", velmora::Read_Flag::WHOLE_TEXT),
            "{\n"
            "  \"format\": \"package-minder/settings-in-force\",\n"
            "  \"version\": 1,\n"
            "  \"process\": \"17\",\n"
            "  \"settings\": {\n"
            "    \"minder.interval\": \"60\",\n"
            "    \"minder.log.level\": \"info\"\n"
            "  }\n"
            "}\n");
}

TEST_F(SettingsInForce, AreUnknownWithoutTheFileOrWithAnother) {
  EXPECT_EQ(settings_in_force::read(filesystem_, "/state"), std::nullopt);

  filesystem_.write_file("/state/settings-in-force.json", "[]", velmora::Write_Flag::REPLACE);
  EXPECT_EQ(settings_in_force::read(filesystem_, "/state"), std::nullopt);

  filesystem_.write_file("/state/settings-in-force.json", R"({"process": 1, "settings": {}})",
                         velmora::Write_Flag::REPLACE);
  EXPECT_EQ(settings_in_force::read(filesystem_, "/state"), std::nullopt);
}

TEST_F(SettingsInForce, AreRemoved) {
  settings_in_force::write(filesystem_, "/state", {"17", {}});

  settings_in_force::remove(filesystem_, "/state");

  EXPECT_FALSE(filesystem_.exists("/state/settings-in-force.json"));
}

}  // namespace
}  // namespace zant::velmora_host
