#include <zant/velmora_host/families/apt/planned_configuration.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class PlannedConfiguration : public Outlook_Example {
 protected:
  PlannedConfiguration() { answers("sh -c *", 0); }

  std::string read(const boost::filesystem::path& file) {
    return host.services.filesystem->read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  }

  const boost::filesystem::path planned = directory.path() / "planned";
};

TEST_F(PlannedConfiguration, IsTheHostsOwnWhenNothingIsPlanned) {
  write_planned_configuration(question);

  EXPECT_EQ(with_planned_configuration(question), "");
  EXPECT_EQ(planned_place_of(question, "/etc/apt/apt.conf.d/50x"), "/etc/apt/apt.conf.d/50x");
  EXPECT_THAT(host.system->commands(), IsEmpty());
}

TEST_F(PlannedConfiguration, HasTheFilesOfTheNextCycleAmongCopiesOfTheHosts) {
  question.planned = {{"/etc/apt/apt.conf.d/50x", "planned"},
                      {"/etc/apt/apt.conf.d/60y", std::nullopt},
                      {"/etc/apt/trusted.gpg.d/key.gpg", "a key"},
                      {"/etc/systemd/system/apt-daily.timer.d/z.conf", "a unit"}};
  host.services.filesystem->write_file(planned / "apt.conf.d" / "60y", "a copy",
                                       velmora::Write_Flag::REPLACE);

  write_planned_configuration(question);

  EXPECT_EQ(read(planned / "apt.conf.d" / "50x"), "planned");
  EXPECT_FALSE(host.services.filesystem->exists(planned / "apt.conf.d" / "60y"));
  EXPECT_EQ(read(planned / "trusted.gpg.d" / "key.gpg"), "a key");
  EXPECT_EQ(planned_place_of(question, "/etc/apt/apt.conf.d/50x"), planned / "apt.conf.d" / "50x");
  EXPECT_EQ(planned_place_of(question, "/etc/apt/apt.conf.d/99z"), "/etc/apt/apt.conf.d/99z");
  EXPECT_THAT(host.system->commands(),
              Contains(HasSubstr("cp -rL --preserve=timestamps /etc/apt/apt.conf.d/. ")));
}

TEST_F(PlannedConfiguration, IsGivenToAptInASettingsFileOfItsOwn) {
  question.planned = {{"/etc/apt/apt.conf.d/50x", "planned"}};

  write_planned_configuration(question);

  const std::string root = planned.string();
  EXPECT_EQ(with_planned_configuration(question), "env APT_CONFIG='" + root + "/settings' ");
  EXPECT_EQ(read(planned / "settings"),
            "Dir::Etc::parts \"" + root + "/apt.conf.d/\";\nDir::Etc::sourceparts \"" + root +
                "/sources.list.d/\";\nDir::Etc::preferencesparts \"" + root +
                "/preferences.d/\";\nDir::Etc::trustedparts \"" + root + "/trusted.gpg.d/\";\n");
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
