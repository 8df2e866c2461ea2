#include <zant/velmora_host/settings/setting_layers.hpp>

#include <Poco/Util/MapConfiguration.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> keys_of(const Setting_Layers& layers) {
  std::vector<std::string> keys;
  for (const auto& setting : layers.settings) {
    keys.push_back(setting.key);
  }
  return keys;
}

TEST(SettingLayers, OfAServerEndAtTheEighthLevel) {
  Settings_Sources sources;
  sources.file = "/nowhere";
  sources.server = new Poco::Util::MapConfiguration;
  sources.server->setString("package.1.2.3.4.5.6.7.8", "seen");
  EXPECT_THAT(keys_of(read_setting_layers(sources)), ElementsAre("package.1.2.3.4.5.6.7.8"));

  sources.server->setString("package.1.2.3.4.5.6.7.8.9", "too deep");
  EXPECT_THAT(keys_of(read_setting_layers(sources)), ElementsAre("package.1.2.3.4.5.6.7.8"));
}

}  // namespace
}  // namespace zant::velmora_host
