#include <zant/velmora_host/families/apt/disk_room.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DiskRoom : public Outlook_Example {
 protected:
  DiskRoom() {
    host.write("/proc/1/mounts", "/dev/a / ext4 rw,relatime 0 0\n/dev/b /var ext4 rw 0 0\n");
    answers("df --block-size=1 *", 0, room("9000", "9000000000", "/"));
    needed.download = 1'000'000;
    needed.installed = 4'000'000;
  }

  static std::string room(const std::string& inodes, const std::string& bytes, const std::string& mount) {
    return "Inodes IFree Avail Mounted on\n 10000 " + inodes + " " + bytes + " " + mount + "\n";
  }

  void has_room(const std::string& directory, const std::string& words, int exit_code = 0) {
    answers("df --block-size=1 --output=itotal,iavail,avail,target '" + directory + "'", exit_code, words);
  }

  Causes found() { return find_full_disks(question, needed, log); }

  Needed_Room needed;
  boost::filesystem::path log = "/var/log/unattended-upgrades";
};

TEST_F(DiskRoom, IsEnoughOnAHealthyHost) {
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(DiskRoom, MustHoldTheDownloadWithSomeToSpare) {
  has_room("/var/cache/apt/archives", room("9000", "1262144", "/var"));
  EXPECT_THAT(found(), IsEmpty());

  has_room("/var/cache/apt/archives", room("9000", "1262143", "/var"));
  const auto causes = found();
  ASSERT_THAT(codes(causes), ElementsAre("blocks disk.full"));
  EXPECT_EQ(causes[0].message,
            "/var/cache/apt/archives has 1232 kB of room; the next version needs 1232 kB there");
  EXPECT_EQ(causes[0].remedy, "Make room on the file system of /var");
}

TEST_F(DiskRoom, MustHoldWhatIsInstalled) {
  has_room("/usr", room("9000", "5000000", "/usr"));
  EXPECT_THAT(codes(found()), ElementsAre("blocks disk.full"));

  has_room("/usr", room("9000", "5048576", "/usr"));
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(DiskRoom, IsToldOnceOfEachFileSystem) {
  answers("df --block-size=1 *", 0, room("9000", "10", "/"));
  EXPECT_THAT(codes(found()), ElementsAre("blocks disk.full"));

  has_room("/usr", room("9000", "10", "/usr"));
  EXPECT_THAT(codes(found()), ElementsAre("blocks disk.full", "blocks disk.full"));
}

TEST_F(DiskRoom, IsALackOfInodesToo) {
  answers("df --block-size=1 *", 0, room("19", "9000000000", "/"));
  const auto causes = found();
  ASSERT_THAT(codes(causes), ElementsAre("blocks disk.full"));
  EXPECT_EQ(causes[0].message, "the file system of /usr has no room for more files");

  answers("df --block-size=1 *", 0, "IUsed IFree Avail Mounted on\n     -     - 9000000000 /\n");
  EXPECT_THAT(found(), IsEmpty()) << "some file systems make them as they need them";
}

TEST_F(DiskRoom, IsNoneWhereNothingCanBeWritten) {
  host.write("/proc/1/mounts",
             "/dev/a / ext4 rw 0 0\n/dev/b /var ext4 rw 0 0\n/dev/b /var ext4 ro,relatime 0 0\n");
  has_room("/var/lib/dpkg", room("9000", "9000000000", "/var"));
  has_room("/var/log", room("9000", "9000000000", "/var"));

  const auto causes = found();
  ASSERT_THAT(codes(causes), ElementsAre("blocks disk.read_only"));
  EXPECT_EQ(causes[0].evidence, "/proc/1/mounts: /var is mounted with the option ro");
  EXPECT_EQ(causes[0].remedy, "mount -o remount,rw '/var'");

  host.write("/proc/1/mounts", "/dev/b /var ext4 ro 0 0\n/dev/c /var ext4 rw,errors=remount-ro 0 0\n");
  EXPECT_THAT(found(), IsEmpty()) << "what is mounted over the other counts";
}

TEST_F(DiskRoom, CannotBeToldFromOtherWords) {
  for (const char* const words :
       {"", "df: /usr: No such file or directory\n", "a\nb c d e\n", "a\n1 2\n", "\xff"}) {
    answers("df --block-size=1 *", 1, words);
    EXPECT_THAT(found(), IsEmpty()) << words;
    answers("df --block-size=1 *", 0, words);
    EXPECT_THAT(found(), IsEmpty()) << words;
  }
}

TEST_F(DiskRoom, MustHoldTheLogOfUnattendedUpgrades) {
  has_room("/var/log/unattended-upgrades", room("9000", "8191", "/var/log/unattended-upgrades"));
  EXPECT_THAT(codes(found()), ElementsAre("blocks disk.full"));

  has_room("/var/log/unattended-upgrades", room("9000", "8192", "/var/log/unattended-upgrades"));
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(DiskRoom, NeedsTwoInodesForTheLogOfUnattendedUpgrades) {
  has_room("/var/log/unattended-upgrades", room("2", "8192", "/var/log/unattended-upgrades"));
  EXPECT_THAT(found(), IsEmpty()) << "it has two files";
  has_room("/var/log/unattended-upgrades", room("1", "8192", "/var/log/unattended-upgrades"));
  EXPECT_THAT(codes(found()), ElementsAre("blocks disk.full"));
}

TEST_F(DiskRoom, MustHoldTheLogWhereTheSettingsHaveIt) {
  has_room("/srv/log", room("9000", "8191", "/srv/log"));
  EXPECT_THAT(found(), IsEmpty());
  log = "/srv/log";
  EXPECT_THAT(codes(found()), ElementsAre("blocks disk.full"));
}

TEST_F(DiskRoom, IsNotThereWhereTheDirectoryIsNot) {
  needed.archives = "/srv/debs/";
  answers("test -d '/srv/debs/partial'", 1);
  const auto causes = found();
  ASSERT_THAT(codes(causes), ElementsAre("obscures archives.missing"));
  EXPECT_EQ(causes[0].remedy, "mkdir -p '/srv/debs/partial' && chown _apt '/srv/debs/partial'");

  answers("test -d '/srv/debs/partial'", 0);
  EXPECT_THAT(found(), IsEmpty());

  needed.archives = "/var/cache/apt/archives/";
  answers("test -d *", 1);
  EXPECT_THAT(found(), IsEmpty()) << "APT makes its usual one";
}

TEST_F(DiskRoom, IsClosedToAPTsOwnUser) {
  const std::string as_user =
      "setpriv --reuid='_apt' --regid=nogroup --clear-groups sh -c 'test -w /tmp && "
      "test -x /tmp || exit 3'";
  for (const int exit_code : {0, 1, 127}) {
    answers(as_user, exit_code);
    EXPECT_THAT(find_closed_temporary_directory(question, "_apt"), IsEmpty()) << exit_code;
  }

  answers(as_user, 3);
  answers("ls -ld /tmp", 0, "drwx------ 2 root root 40 /tmp\n");
  const auto causes = find_closed_temporary_directory(question, "_apt");
  ASSERT_THAT(codes(causes), ElementsAre("blocks apt.temporary_directory_closed"));
  EXPECT_EQ(causes[0].message, "APT's own user, _apt, may not write into /tmp, and can check no signature");
  EXPECT_EQ(causes[0].evidence, "ls -ld /tmp: drwx------ 2 root root 40 /tmp");
  EXPECT_EQ(causes[0].remedy, "chmod 1777 /tmp");
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
