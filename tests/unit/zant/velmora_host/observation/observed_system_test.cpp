#include <zant/velmora_host/observation/observed_system.hpp>

#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/families/dnf/dnf_family.hpp>

#include <support/host_side/debian_host.hpp>
#include <support/host_side/el_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/algorithm/string/join.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::ThrowsMessage;

// Writes down what it is told.
class Noting_Observer : public Command_Observer {
 public:
  void note_begin(const std::string& line, Command_Kind kind) override {
    EXPECT_NE(line, "");
    notes.push_back(kind == Command_Kind::QUERY ? "begins to look" : "begins");
  }
  void note_end(const Ended_Command& command, Command_Kind kind, double seconds) override {
    EXPECT_GE(seconds, 0);
    notes.push_back((kind == Command_Kind::QUERY ? "looked: " : "did: ") + command.line + " " +
                    std::to_string(command.exit_code));
  }
  void note_failure(const Cycle_Failure& failure) override { notes.push_back("failed: " + failure.message); }
  void note_key_import(const Key_Import& import) override {
    notes.push_back(import.line + ": from " + boost::algorithm::join(import.before, ", ") + " to " +
                    boost::algorithm::join(import.after, ", "));
  }

  std::vector<std::string> notes;
};

class ObservedSystem : public ::testing::Test {
 protected:
  velmora::Command_Result run(const std::string& command, Occasion occasion = Occasion::CYCLE) {
    return Observed_System(host_.services, family_, occasion, observer_).run_command(command, true);
  }

  test_support::Debian_Host host_;
  const APT_Family family_;
  std::shared_ptr<Noting_Observer> observer_ = std::make_shared<Noting_Observer>();
};

TEST_F(ObservedSystem, TellsWhatACommandDoesAndHowItEnded) {
  host_.system->on("apt-get -qq update", 0, "text");
  host_.system->during("apt-get -qq update", [this] {
    EXPECT_THAT(observer_->notes, ElementsAre("begins")) << "before the command runs";
  });

  const auto result = run("apt-get -qq update");

  EXPECT_EQ(result.output, "text");
  EXPECT_THAT(observer_->notes, ElementsAre("begins", "did: apt-get -qq update 0"));
}

TEST_F(ObservedSystem, TellsAQueryFromAChange) {
  run("which unattended-upgrades > /dev/null");

  EXPECT_THAT(observer_->notes,
              ElementsAre("begins to look", "looked: which unattended-upgrades > /dev/null 0"));
}

TEST_F(ObservedSystem, TellsTheFailureThatTheLibraryGoesOnAfter) {
  host_.system->on("apt-mark -qq unhold zant-velmora", 100);

  EXPECT_EQ(run("apt-mark -qq unhold zant-velmora").exit_code, 100);
  EXPECT_THAT(observer_->notes,
              ElementsAre("begins", "did: apt-mark -qq unhold zant-velmora 100",
                          "failed: zant-velmora is still held: apt-mark failed with exit code 100"));

  observer_->notes.clear();
  run("apt-mark -qq unhold zant-velmora", Occasion::PURGE);
  EXPECT_THAT(observer_->notes, ElementsAre("begins", "did: apt-mark -qq unhold zant-velmora 100"));
}

TEST_F(ObservedSystem, TakesNoAnswerForNone) {
  const std::string query = "which unattended-upgrades > /dev/null";
  for (const int exit_code : {124, 125, 126, 137}) {
    host_.system->on(query, exit_code);
    EXPECT_THAT([&] { run(query); },
                ThrowsMessage<std::runtime_error>("No answer to a question, but exit code " +
                                                  std::to_string(exit_code) + " | Command: " + query));
  }
  for (const int exit_code : {1, 2, 127, 255}) {
    host_.system->on(query, exit_code);
    EXPECT_EQ(run(query).exit_code, exit_code);
  }
}

TEST_F(ObservedSystem, LetsNoCycleGoOnWithoutTheTextOfAFile) {
  const std::string query = "dpkg-query -f='${Architecture}' -W zant-velmora";
  EXPECT_EQ(run(query).output, "amd64");

  for (const auto& [exit_code, text] : {std::pair(0, ""), std::pair(1, ""), std::pair(1, "amd64")}) {
    host_.system->on(query, exit_code, text);
    EXPECT_THROW(run(query), std::runtime_error);
    EXPECT_EQ(run(query, Occasion::PURGE).exit_code, exit_code) << "a purge installs no file";
  }
}

TEST(ObservedKeyImport, IsToldWithTheKeysBeforeAndAfterItEvenWhenItFails) {
  test_support::El_Host host;
  const DNF_Family family;
  const auto observer = std::make_shared<Noting_Observer>();
  Observed_System system(host.services, family, Occasion::CYCLE, observer);
  host.trust("gpg-pubkey-2 B\ngpg-pubkey-1 A\n");
  host.system->on("rpm --import https://repo.test/key", 1);
  host.system->during("rpm --import https://repo.test/key",
                      [&host] { host.trust("gpg-pubkey-2 B\ngpg-pubkey-1 A\ngpg-pubkey-3 C\n"); });

  system.run_command("rpm --import https://repo.test/key", true);

  EXPECT_EQ(observer->notes.back(),
            "rpm --import https://repo.test/key: from gpg-pubkey-1 A, gpg-pubkey-2 B to gpg-pubkey-1 A, "
            "gpg-pubkey-2 B, gpg-pubkey-3 C");
}

TEST(ObservedKeyImport, IsNotToldWhenTheKeysCannotBeListed) {
  test_support::El_Host host;
  const DNF_Family family;
  const auto observer = std::make_shared<Noting_Observer>();
  Observed_System system(host.services, family, Occasion::CYCLE, observer);
  host.system->on(test_support::El_Host::LIST_KEYS, 1, "error: cannot open Packages database\n");
  host.system->on("rpm --import https://repo.test/key", 0);

  system.run_command("rpm --import https://repo.test/key", true);

  EXPECT_EQ(observer->notes.back(), "did: rpm --import https://repo.test/key 0");
}

}  // namespace
}  // namespace zant::velmora_host
