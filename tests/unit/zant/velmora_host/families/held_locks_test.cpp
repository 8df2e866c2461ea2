#include <zant/velmora_host/families/held_locks.hpp>

#include <support/host_side/el_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

using ::testing::IsEmpty;

class LocksOfAPackageManager : public ::testing::Test {
 protected:
  LocksOfAPackageManager() {
    host_.system->on(
        "LC_ALL=C timeout --kill-after=1 5 stat --format='%i %n' /var/lib/x/lock /var/lib/x/other 2>&1", 1,
        "77 /var/lib/x/lock\n78 /var/lib/x/other\nstat: cannot statx '/x'\n");
    holder_is("   60 strange\n");
    has_open("/dev/null\n/var/lib/x/lock\n/var/lib/x/other\n");
  }

  void has_open(const std::string& files) {
    host_.system->on("LC_ALL=C timeout --kill-after=1 5 sh -c 'readlink /proc/4711/fd/*' 2>&1", 0, files);
  }

  void holder_is(const std::string& words) {
    host_.system->on("LC_ALL=C timeout --kill-after=1 5 ps -o etimes=,comm= -p 4711 2>&1",
                     words.empty() ? 1 : 0, words);
  }

  Causes found() {
    const Settings settings = host_.settings();
    return find_held_locks({settings, host_.services, velmora::Init::systemd, "/private", false, {}},
                           {{"/var/lib/x/lock"}, {"/var/lib/x/other"}, {}, {"manager"}, {"daemon"}});
  }

  test_support::El_Host host_;
};

TEST_F(LocksOfAPackageManager, AreNoneWhereNothingIsLocked) {
  EXPECT_THAT(found(), IsEmpty());
  for (const char* locks :
       {"", "nonsense", "1: POSIX  ADVISORY  WRITE 4711 00:2f:79 0 EOF\n",
        "1: POSIX  ADVISORY  WRITE 4711 00:2f:78 0 EOF\n", "1: FLOCK  ADVISORY  WRITE 4711 00:2f:77 0 EOF\n",
        "1: -> POSIX  ADVISORY  WRITE 4711 00:2f:77 0 EOF\n", "1: POSIX  ADVISORY  WRITE -1 00:2f:77 0 EOF\n",
        "1: POSIX\n"}) {
    host_.write("/proc/locks", locks);
    EXPECT_THAT(found(), IsEmpty()) << locks;
  }
}

TEST_F(LocksOfAPackageManager, AreToldOfAnotherProgramAtOnceAndOfThePackageManagerAfterHours) {
  host_.write("/proc/locks",
              "1: FLOCK  ADVISORY  WRITE 1 00:2f:5 0 EOF\n2: POSIX  ADVISORY  WRITE 4711 00:2f:77 0 EOF\n");

  ASSERT_EQ(found().size(), 1U);
  EXPECT_EQ(found()[0].code, "lock.held");
  EXPECT_EQ(found()[0].effect, Cause_Effect::OBSCURES);
  EXPECT_EQ(found()[0].evidence,
            "/proc/locks: /var/lib/x/lock is held by process 4711 (strange), which started 1 minutes ago");
  EXPECT_EQ(found()[0].remedy, "kill 4711");

  holder_is("   60 manager-daily\n");
  EXPECT_THAT(found(), IsEmpty());
  holder_is(" 7201 manager-daily\n");
  EXPECT_EQ(found().at(0).effect, Cause_Effect::BLOCKS);
  holder_is(" 7201 daemon\n");
  EXPECT_EQ(found().at(0).effect, Cause_Effect::OBSCURES) << "it may have taken it a moment ago";
  has_open("/tmp/other\n");
  EXPECT_THAT(found(), IsEmpty()) << "a file of another file system has the same number";
  has_open("/var/lib/x/lock\n");
  holder_is("");
  EXPECT_THAT(found(), IsEmpty()) << "it has ended";
}

}  // namespace
}  // namespace zant::velmora_host
