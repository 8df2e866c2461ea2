#include <zant/velmora_host/families/apt/last_run.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* TRIED =
    "2026-01-01 03:00:00,000 INFO Starting unattended upgrades script\n"
    "2026-01-01 03:00:01,000 INFO Packages that will be upgraded: zant-velmora\n";

class LastRun : public Outlook_Example {
 protected:
  Causes found(const std::string& log, const std::string& dpkg_log, bool is_downloaded = false) {
    answers("tail --bytes=65536 '/var/log/unattended-upgrades/unattended-upgrades.log'", 0, log);
    answers("tail --bytes=65536 '/var/log/unattended-upgrades/unattended-upgrades-dpkg.log'", 0, dpkg_log);
    return find_failed_upgrade(question, Upgrade_Log(), "2.0", is_downloaded);
  }
};

TEST_F(LastRun, ThatSucceededHasNoCause) {
  EXPECT_THAT(found(std::string(TRIED) + "2026-01-01 03:00:02,000 INFO All upgrades installed\n", ""),
              IsEmpty());
  EXPECT_THAT(found("", ""), IsEmpty());
}

TEST_F(LastRun, NamesAScriptOfThePackage) {
  const auto causes =
      found(TRIED,
            "Log started: 2026-01-01  03:00:01\n"
            "Unpacking zant-velmora (2.0) over (1.0) ...\n"
            "dpkg: error processing archive /var/cache/apt/archives/zant-velmora_2.0_amd64.deb "
            "(--unpack):\n"
            " new zant-velmora package pre-installation script subprocess returned error exit "
            "status 1\n");

  ASSERT_THAT(codes(causes), ElementsAre("blocks package.script_failed"));
  EXPECT_THAT(causes[0].evidence, HasSubstr("script subprocess returned error exit status 1"));
}

TEST_F(LastRun, NamesWhatElseDpkgFailsAt) {
  const auto causes = found(TRIED,
                            "Log started: 2026-01-01  03:00:01\n"
                            "Unpacking zant-velmora (2.0) over (1.0) ...\n"
                            "dpkg: error processing archive zant-velmora_2.0_amd64.deb (--unpack):\n"
                            " unable to create './usr/share/zant-velmora/version.dpkg-new'\n");

  ASSERT_THAT(codes(causes), ElementsAre("blocks package.install_failed"));
  EXPECT_THAT(causes[0].evidence, HasSubstr("unable to create './usr/share/zant-velmora/version.dpkg-new'"));
}

TEST_F(LastRun, DoesNotTakeTheFailureOfAnotherVersionForThisOne) {
  EXPECT_THAT(found(TRIED,
                    "Log started: 2026-01-01  03:00:01\n"
                    "Unpacking zant-velmora (1.5) over (1.0) ...\n"
                    "dpkg: error processing archive zant-velmora_1.5_amd64.deb (--unpack):\n"),
              IsEmpty());
}

TEST_F(LastRun, TellsThatItFailedWithoutKnowingWhatFor) {
  const auto causes =
      found(std::string(TRIED) + "2026-01-01 03:00:02,000 ERROR Installing the upgrades failed!\n", "");

  ASSERT_THAT(codes(causes), ElementsAre("obscures upgrades.failed"));
  EXPECT_THAT(causes[0].evidence, HasSubstr("ERROR Installing the upgrades failed!"));
}

TEST_F(LastRun, NamesAQuestionUnlessThePackageItselfCanBeAsked) {
  const std::string log =
      "2026-01-01 03:00:00,000 INFO Starting unattended upgrades script\n"
      "2026-01-01 03:00:01,000 WARNING Package zant-velmora has conffile prompt and needs to be upgraded "
      "manually\n";

  EXPECT_THAT(codes(found(log, "")), ElementsAre("blocks package.conffile_prompt"));
  EXPECT_THAT(found(log, "", true), IsEmpty());
}

TEST_F(LastRun, LooksAtTheLastRunAlone) {
  EXPECT_THAT(found(std::string(TRIED) + "2026-01-01 03:00:02,000 ERROR Installing the upgrades failed!\n"
                                         "2026-01-02 03:00:00,000 INFO Starting unattended upgrades script\n",
                    ""),
              IsEmpty());
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
