#include <zant/velmora_host/families/apt/upgrade_units.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CronJob : public Outlook_Example {
 protected:
  CronJob() {
    host.write(
        "/etc/crontab",
        "# m h dom mon dow user command\n17 * * * * root cd / && run-parts --report /etc/cron.hourly\n"
        "#5 5 * * * root run-parts /etc/cron.daily\n"
        "25 6\t* * *\troot\ttest -x /usr/sbin/anacron || { cd / && run-parts --report /etc/cron.daily; }\n");
    answers("pgrep --exact 'cron|crond|anacron'", 0, "12\n");
    answers("run-parts --test /etc/cron.daily", 0, "/etc/cron.daily/apt-compat\n/etc/cron.daily/dpkg\n");
    answers("pgrep --full /usr/lib/apt/apt.systemd.daily", 1);
    answers("date --date='today 6:25' +%s", 0, "1795328700\n");
    answers("date --date='tomorrow 6:25' +%s", 0, "1795415100\n");
  }

  Upgrade_Units found() { return find_cron_job(question); }
};

TEST_F(CronJob, HasNoFaultOnAHealthyHost) {
  const auto units = found();

  EXPECT_THAT(units.causes, IsEmpty());
  EXPECT_FALSE(units.is_running);
  EXPECT_EQ(to_iso_time(*units.next_run), "2026-11-23T06:25:00Z") << "today's has passed";
  EXPECT_EQ(units.next_refresh, units.next_run);
}

TEST_F(CronJob, IsNextTodayWhileThatTimeHasNotCome) {
  answers("date --date='today 6:25' +%s", 0, "1795348801\n");

  EXPECT_EQ(to_iso_time(*found().next_run), "2026-11-22T12:00:01Z");
}

TEST_F(CronJob, IsNotStartedWithoutCron) {
  answers("pgrep --exact 'cron|crond|anacron'", 1);
  const auto causes = found().causes;
  ASSERT_THAT(codes(causes), ElementsAre("blocks cron.not_running"));
  EXPECT_EQ(causes[0].remedy, "service cron start");

  answers("pgrep --exact 'cron|crond|anacron'", 127, "pgrep: not found\n");
  EXPECT_THAT(found().causes, IsEmpty()) << "nothing is told";
}

TEST_F(CronJob, IsMissingWhenRunPartsLeavesItOut) {
  answers("run-parts --test /etc/cron.daily", 0, "/etc/cron.daily/dpkg\n");
  const auto causes = found().causes;

  ASSERT_THAT(codes(causes), ElementsAre("blocks cron.job_missing"));
  EXPECT_EQ(causes[0].evidence, "run-parts --test /etc/cron.daily: /etc/cron.daily/dpkg");
}

TEST_F(CronJob, ThatRunsIsToldToRun) {
  answers("pgrep --full /usr/lib/apt/apt.systemd.daily", 0, "99\n");

  EXPECT_TRUE(found().is_running);
}

TEST_F(CronJob, HasNoKnownTimeInOtherTables) {
  for (const char* const table :
       {"", "25 6 * * * root true\n", "*/5 6 * * * root run-parts /etc/cron.daily\n",
        "25 26 * * * root run-parts /etc/cron.daily\n", "@daily root run-parts /etc/cron.daily\n",
        "\xff\n"}) {
    host.write("/etc/crontab", table);
    EXPECT_FALSE(found().next_run) << table;
  }
  host.write("/etc/crontab", "25 6 * * * root run-parts /etc/cron.daily\n");
  answers("date --date='today 6:25' +%s", 1, "date: invalid date\n");
  answers("date --date='tomorrow 6:25' +%s", 0, "nonsense\n");
  EXPECT_FALSE(found().next_run);
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
