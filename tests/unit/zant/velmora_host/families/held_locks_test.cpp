#include <zant/velmora_host/families/held_locks.hpp>

#include <support/host_side/el_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

using ::testing::IsEmpty;

class HeldLocks : public ::testing::Test {
 protected:
  HeldLocks() {
    host_.system->on(
        "LC_ALL=C timeout --kill-after=1 5 stat --format='%i %n' /var/lib/x/lock /var/lib/x/other 2> "
        "/dev/null",
        1, "77 /var/lib/x/lock\n");
    holder_is("   60 strange\n");
  }

  void holder_is(const std::string& words) {
    host_.system->on("LC_ALL=C timeout --kill-after=1 5 ps -o etimes=,comm= -p 4711 2> /dev/null",
                     words.empty() ? 1 : 0, words);
  }

  Causes found() {
    const Settings settings = host_.settings();
    return find_held_locks({settings, host_.services, velmora::Init::systemd, "/private", false, {}},
                           {{"/var/lib/x/lock", "/var/lib/x/other"}, {}, {"manager"}});
  }

  test_support::El_Host host_;
};

TEST_F(HeldLocks, AreNoneWhereNothingIsLocked) {
  EXPECT_THAT(found(), IsEmpty());
  for (const char* locks : {"", "nonsense", "1: POSIX  ADVISORY  WRITE 4711 00:2f:78 0 EOF\n",
                            "1: -> POSIX  ADVISORY  WRITE 4711 00:2f:77 0 EOF\n",
                            "1: POSIX  ADVISORY  WRITE -1 00:2f:77 0 EOF\n", "1: POSIX\n"}) {
    host_.write("/proc/locks", locks);
    EXPECT_THAT(found(), IsEmpty()) << locks;
  }
}

TEST_F(HeldLocks, AreToldOfAnotherProgramAtOnceAndOfThePackageManagerAfterHours) {
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
  holder_is("");
  EXPECT_THAT(found(), IsEmpty()) << "it has ended";
}

}  // namespace
}  // namespace zant::velmora_host
