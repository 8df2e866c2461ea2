#include <zant/velmora_host/families/apt/dpkg_state.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DpkgState : public Outlook_Example {
 protected:
  Installed_Package told(int exit_code, const std::string& words) {
    answers("dpkg-query --show --showformat='${Version}|${Architecture}|${db:Status-Status}' zant-velmora",
            exit_code, words);
    return find_installed_package(question);
  }
};

TEST_F(DpkgState, TellsTheVersionThatIsInstalled) {
  const auto package = told(0, "1.0|amd64|installed");

  EXPECT_EQ(package.version, "1.0");
  EXPECT_EQ(package.architecture, "amd64");
  EXPECT_THAT(package.causes, IsEmpty());
}

TEST_F(DpkgState, KnowsAPackageThatIsNotInstalled) {
  const auto unknown = told(1, "dpkg-query: no packages found matching zant-velmora\n");
  EXPECT_EQ(unknown.version, "");
  EXPECT_THAT(codes(unknown.causes), ElementsAre("blocks package.not_installed"));
  EXPECT_THAT(codes(told(0, "1.0|amd64|config-files").causes), ElementsAre("blocks package.not_installed"));
}

TEST_F(DpkgState, NamesAPackageThatIsNotWhollyInstalled) {
  const auto configured = told(0, "2.0|amd64|half-configured");
  ASSERT_THAT(codes(configured.causes), ElementsAre("blocks package.half_installed"));
  EXPECT_EQ(configured.version, "2.0");
  EXPECT_EQ(configured.causes[0].remedy, "dpkg --configure -a");

  EXPECT_EQ(told(0, "2.0|amd64|half-installed").causes[0].remedy,
            "apt-get install --reinstall --assume-yes zant-velmora");
}

TEST_F(DpkgState, IsUnknownWhenDpkgFails) {
  EXPECT_THAT(codes(told(2, "dpkg-query: error: reading files list\n").causes),
              ElementsAre("obscures tools.failed"));
  EXPECT_THAT(codes(told(0, "nonsense").causes), ElementsAre("obscures tools.failed"));
}

TEST_F(DpkgState, NamesAnInterruptedDpkg) {
  EXPECT_THAT(find_interrupted_work(question), IsEmpty());

  host.write("/var/lib/dpkg/updates/tmp.i", "");
  EXPECT_THAT(find_interrupted_work(question), IsEmpty());

  host.write("/var/lib/dpkg/updates/0001", "");
  EXPECT_THAT(codes(find_interrupted_work(question)), ElementsAre("blocks dpkg.interrupted"));
}

TEST_F(DpkgState, IsWholeWhileTriggersAreStillToRun) {
  for (const char* const state : {"triggers-pending", "triggers-awaited"}) {
    EXPECT_THAT(told(0, std::string("1.0|amd64|") + state).causes, IsEmpty()) << state;
  }
}

TEST_F(DpkgState, IsAskedWhetherItCanBegin) {
  const auto found = [this](int exit_code, const std::string& words) {
    answers("env TMPDIR=* sh -c *", exit_code, words);
    return find_dpkg_faults(question);
  };

  EXPECT_THAT(found(1, "dpkg-deb: error: unexpected end of file in archive magic version number\n"),
              IsEmpty());
  EXPECT_THAT(found(124, ""), IsEmpty());

  const auto path = found(2, "dpkg: error: 1 expected program not found in PATH or not executable\n");
  ASSERT_THAT(codes(path), ElementsAre("blocks dpkg.fails"));
  EXPECT_EQ(path[0].remedy, "Put right what dpkg complains of");
  EXPECT_EQ(
      found(2, "dpkg: error: configuration error: /etc/dpkg/dpkg.cfg.d/x:1: unknown option 'y'\n")[0].remedy,
      "mv /etc/dpkg/dpkg.cfg.d/x /etc/dpkg/dpkg.cfg.d/x.disabled");
  EXPECT_EQ(
      found(2, " unknown system user 'x-y' in statoverride file; the system user got removed\n")[0].remedy,
      "sed -i '/^x-y /d' /var/lib/dpkg/statoverride");
  EXPECT_EQ(
      found(2, " unknown system group 'x' in statoverride file; the system group got removed\n")[0].remedy,
      "sed -i '/^[^ ]* x /d' /var/lib/dpkg/statoverride");
}

TEST_F(DpkgState, NamesTheOptionThatHasItActOnNothing) {
  answers("sh -c *", 1);
  EXPECT_THAT(find_simulating_dpkg(question), IsEmpty());

  answers("sh -c *", 0);
  const auto unknown = find_simulating_dpkg(question);
  ASSERT_THAT(codes(unknown), ElementsAre("blocks dpkg.fails"));
  EXPECT_EQ(unknown[0].message, "dpkg only tells what it would do, and installs nothing");
  EXPECT_EQ(unknown[0].remedy, "Take the option no-act out of dpkg's configuration");

  host.write("/etc/dpkg/dpkg.cfg", "# dry-run\nlog /var/log/dpkg.log\n" + std::string(1000000, ' ') + "\n");
  host.write("/etc/dpkg/dpkg.cfg.d/local", "force-confold\n  simulate\n");
  const auto known = find_simulating_dpkg(question);
  ASSERT_THAT(codes(known), ElementsAre("blocks dpkg.fails"));
  EXPECT_EQ(known[0].evidence, "/etc/dpkg/dpkg.cfg.d/local:2:   simulate");
  EXPECT_EQ(known[0].remedy, "sed -i 2d '/etc/dpkg/dpkg.cfg.d/local'");
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
