#include <zant/velmora/choco/choco_constants.hpp>

#include <zant/velmora/package_minder/velmora_version_info.hpp>

#include <gtest/gtest.h>

#include <string>

using namespace zant::velmora;

namespace {

TEST(ChocoConstants, NameTheSourceAndTheTask) {
  EXPECT_EQ(std::string(Choco_Constants::REPO_NAME), "zant-velmora");
  EXPECT_EQ(std::string(Choco_Constants::SCHTASKS_TASK_NAME), "UpgradeVelmoraRecorderVMS");
}

TEST(ChocoConstants, HoldOnePlaceForTheChannelInTheHostNameOfTheDefaultSource) {
  const std::string location = Choco_Constants::DEFAULT_REPO_SRC_LOCATION_TEMPLATE;

  EXPECT_EQ(location, "https://{}.choco.velmora.example/v3/index.json");
}

TEST(ChocoConstants, AdoptTheVersionOfTheRunningProduct) {
  EXPECT_EQ(Choco_Constants::ADOPT_INSTALLATION_ARGUMENTS, "install zant-velmora -y --version " +
                                                               std::string(Velmora_Version_Info::VERSION) +
                                                               " --skip-powershell --ignore-http-cache");
}

}  // namespace
