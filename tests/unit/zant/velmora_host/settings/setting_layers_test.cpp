#include <zant/velmora_host/settings/setting_layers.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <Poco/Util/MapConfiguration.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>

#include <fstream>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

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

class SettingsFile : public ::testing::Test {
 protected:
  SettingsFile() {
    std::ofstream(file_.string()) << "minder.interval = 60\n";
    ::chmod(file_.c_str(), 0644);
  }

  Settings_Sources sources() const {
    Settings_Sources sources;
    sources.file = file_;
    return sources;
  }
  std::string refusal(std::string* code = nullptr) const {
    try {
      read_setting_layers(sources());
    } catch (const Refusal& refusal) {
      if (code != nullptr) {
        *code = refusal.findings().at(0).code;
      }
      return refusal.what();
    }
    return "";
  }

  Temporary_Directory directory_;
  boost::filesystem::path file_ = directory_.path() / "settings";
};

TEST_F(SettingsFile, IsReadWhenItIsRootsAlone) {
  EXPECT_THAT(keys_of(read_setting_layers(sources())), ElementsAre("minder.interval"));
}

TEST_F(SettingsFile, OfOthersIsNotRead) {
  ::chmod(file_.c_str(), 0666);

  std::string code;
  EXPECT_EQ(
      refusal(&code),
      file_.string() +
          ": may be changed by others (mode 0666); the file and every directory above it must belong to "
          "root, and nobody else may write to them");
  EXPECT_EQ(code, "settings.writable_by_others");
}

TEST_F(SettingsFile, InADirectoryOfOthersIsNotReadWhetherOrNotItIsThere) {
  ::chmod(directory_.path().c_str(), 0777);
  EXPECT_THAT(refusal(), HasSubstr(": can be replaced: " + directory_.path().string()));

  boost::filesystem::remove(file_);
  EXPECT_THAT(refusal(), HasSubstr(": can be replaced: " + directory_.path().string()));
}

TEST_F(SettingsFile, IsNoFifoNoDeviceAndNoDirectory) {
  boost::filesystem::remove(file_);
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(refusal(), file_.string() + ": is not a regular file; name a settings file");

  boost::filesystem::remove(file_);
  boost::filesystem::create_symlink("/dev/zero", file_);
  EXPECT_EQ(refusal(), file_.string() + ": is not a regular file; name a settings file");

  boost::filesystem::remove(file_);
  boost::filesystem::create_directory(file_);
  EXPECT_EQ(refusal(), file_.string() + ": is a directory; name a settings file");
}

}  // namespace
}  // namespace zant::velmora_host
