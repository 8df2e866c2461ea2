#include <zant/velmora_host/families/apt/daily_job.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DailyJob : public Outlook_Example {
 protected:
  DailyJob() {
    answers("test -d *", 0);
    answers("sh -c 'command -v flock'", 0, "/usr/bin/flock\n");
  }

  Causes found(const std::string& dump = "Dir::State \"var/lib/apt\";\n") {
    return find_daily_job_faults(question, APT_Settings(dump, *host.services.filesystem));
  }
};

TEST_F(DailyJob, BeginsOnAHealthyHost) {
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(DailyJob, NeedsTheDirectoryOfAPTsState) {
  answers("test -d '/var/lib/apt'", 1);
  const auto causes = found();
  ASSERT_THAT(codes(causes), ElementsAre("blocks apt.state_missing"));
  EXPECT_EQ(causes[0].remedy, "mkdir -p '/var/lib/apt'/lists/partial '/var/lib/apt'/periodic");

  answers("test -d '/var/lib/apt'", 0);
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(DailyJob, NeedsThatDirectoryWhereTheSettingsHaveIt) {
  answers("test -d '/srv/state'", 1);
  EXPECT_THAT(found(), IsEmpty());
  for (const char* const dump : {"Dir::State \"/srv/state/\";\n", "Dir::State \"srv/state\";\n"}) {
    const auto causes = found(dump);
    ASSERT_THAT(codes(causes), ElementsAre("blocks apt.state_missing")) << dump;
    EXPECT_EQ(causes[0].evidence, "test -d '/srv/state'") << dump;
  }
}

TEST_F(DailyJob, NeedsTheProgramThatTakesItsLock) {
  for (const int exit_code : {1, 127}) {
    answers("sh -c 'command -v flock'", exit_code);
    const auto causes = found();
    ASSERT_THAT(codes(causes), ElementsAre("blocks service.program_missing")) << exit_code;
    EXPECT_EQ(causes[0].message,
              "flock, which APT's daily jobs take their lock with, is missing or cannot be executed");
    EXPECT_EQ(causes[0].evidence, "sh -c 'command -v flock': no words");
    EXPECT_EQ(causes[0].remedy, "apt-get install --reinstall --assume-yes util-linux");
  }
  answers("sh -c 'command -v flock'", 124);
  EXPECT_THAT(found(), IsEmpty()) << "a shell that does not answer in time says nothing of flock";
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
