#include <zant/velmora_host/families/apt/held_locks.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HeldLocks : public Outlook_Example {
 protected:
  HeldLocks() {
    answers("stat --format='%i %n' *", 1,
            "101 /var/lib/dpkg/lock-frontend\n102 /var/lib/apt/daily_lock\nstat: cannot statx 'x'\n");
    answers("sh -c 'readlink /proc/77/fd/*'", 1, "/dev/null\n/var/lib/dpkg/lock-frontend\n");
  }

  // By process 77.
  Causes held_by(const std::string& program, const std::string& seconds,
                 const std::string& lock = "POSIX  ADVISORY  WRITE 77 00:2f:101 0 EOF") {
    host.write("/proc/locks", "1: FLOCK  ADVISORY  WRITE 5 00:2f:900 0 EOF\n2: " + lock + "\n");
    answers("ps -o etimes=,comm= -p 77", 0, "   " + seconds + " " + program + "\n");
    return find_held_locks(question);
  }
};

TEST_F(HeldLocks, OfAnotherProgramAreNamed) {
  const auto causes = held_by("python3", "120");

  ASSERT_THAT(codes(causes), ElementsAre("obscures lock.held"));
  EXPECT_EQ(causes[0].evidence,
            "/proc/locks: /var/lib/dpkg/lock-frontend is held by process 77 (python3), which started 2 "
            "minutes ago");
  EXPECT_EQ(causes[0].remedy, "kill 77");
}

TEST_F(HeldLocks, OfPackageManagersAreNoFaultForTwoHours) {
  EXPECT_THAT(held_by("apt-get", "7200"), IsEmpty());
  EXPECT_THAT(held_by("packagekitd", "7200"), IsEmpty());
  EXPECT_THAT(codes(held_by("apt-get", "7201")), ElementsAre("blocks lock.held"));
}

TEST_F(HeldLocks, OfServicesMayBeNewHoweverLongTheyRun) {
  EXPECT_THAT(codes(held_by("packagekitd", "90000")), ElementsAre("obscures lock.held"));
  EXPECT_THAT(codes(held_by("salt-minion", "90000")), ElementsAre("obscures lock.held"));
}

TEST_F(HeldLocks, OfAnotherKindAreInNobodysWay) {
  EXPECT_THAT(held_by("flock", "9000", "FLOCK  ADVISORY  WRITE 77 00:2f:101 0 EOF"), IsEmpty());

  answers("sh -c 'readlink /proc/77/fd/*'", 1, "/var/lib/apt/daily_lock\n");
  EXPECT_THAT(codes(held_by("flock", "90", "FLOCK  ADVISORY  WRITE 77 00:2f:102 0 EOF")),
              ElementsAre("obscures lock.held"));
}

TEST_F(HeldLocks, OfAFileWithTheSameNumberElsewhereAreNone) {
  answers("sh -c 'readlink /proc/77/fd/*'", 1, "/run/other.lock\n");

  EXPECT_THAT(held_by("python3", "9000"), IsEmpty());
}

TEST_F(HeldLocks, ThatOthersWaitForOrThatCannotBeReadAreNone) {
  EXPECT_THAT(held_by("python3", "9000", "-> POSIX  ADVISORY  WRITE 77 00:2f:101 0 EOF"), IsEmpty());
  EXPECT_THAT(held_by("python3", "9000", "POSIX  ADVISORY  WRITE -1 00:2f:101 0 EOF"), IsEmpty());
  EXPECT_THAT(held_by("python3", "9000", "nonsense"), IsEmpty());
  EXPECT_THAT(held_by("", "?"), IsEmpty());

  answers("stat --format='%i %n' *", 127);
  EXPECT_THAT(held_by("python3", "9000"), IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
