#include <zant/velmora_host/services/posix/command_environment.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::UnorderedElementsAre;

const std::vector<std::string> INHERITED = {"TZ",        "http_proxy", "https_proxy", "ftp_proxy",
                                            "all_proxy", "no_proxy",   "HTTP_PROXY",  "HTTPS_PROXY",
                                            "FTP_PROXY", "ALL_PROXY",  "NO_PROXY"};

class CommandEnvironment : public ::testing::Test {
 protected:
  CommandEnvironment() {
    forget();
    ::setenv("LD_PRELOAD_OF_A_TEST", "evil.so", 1);
  }
  ~CommandEnvironment() override {
    forget();
    ::unsetenv("LD_PRELOAD_OF_A_TEST");
  }

  static void forget() {
    for (const auto& name : INHERITED) {
      ::unsetenv(name.c_str());
    }
  }
};

TEST_F(CommandEnvironment, IsMadeFromScratch) {
  EXPECT_THAT(make_command_environment({}),
              UnorderedElementsAre("PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                                   "LANG=C.UTF-8", "LC_ALL=C.UTF-8", "HOME=/root"));
}

TEST_F(CommandEnvironment, HasTheZoneAndTheProxiesOfTheAdministrator) {
  std::vector<std::string> expected = make_command_environment({});
  for (const auto& name : INHERITED) {
    ::setenv(name.c_str(), "value", 1);
    expected.push_back(name + "=value");
  }

  EXPECT_THAT(make_command_environment({}), ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(CommandEnvironment, HasWhatTheServiceWasGivenInTheFirstPlace) {
  ::setenv("TZ", "inherited", 1);

  EXPECT_THAT(
      make_command_environment({{"HOME", "/h"}, {"PATH", "/p"}, {"TZ", "given"}, {"MORE", "m"}}),
      UnorderedElementsAre("PATH=/p", "LANG=C.UTF-8", "LC_ALL=C.UTF-8", "HOME=/h", "TZ=given", "MORE=m"));
}

}  // namespace
}  // namespace zant::velmora_host
