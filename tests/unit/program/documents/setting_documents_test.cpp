#include <program/documents/setting_documents.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace zant::program::setting_documents {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using velmora_host::Effective_Setting;
using velmora_host::Setting_Defaults;
using velmora_host::Setting_Source;
using velmora_host::Setting_Table;
using velmora_host::Settings;
using velmora_host::Settings_Sources;

// A comment begins with "# ", a setting that is not in force with "#" and its key.
std::string without_marks(const std::string& example) {
  std::string text;
  std::vector<std::string> lines;
  boost::algorithm::split(lines, example, boost::algorithm::is_any_of("\n"));
  for (const auto& line : lines) {
    const bool is_setting = line.starts_with("#") && line.size() > 1 && line[1] != ' ';
    text += (is_setting ? line.substr(1) : line) + "\n";
  }
  return text;
}

TEST(ExampleOfSettings, ChangesNothingWhenEveryMarkIsRemoved) {
  const velmora_host::Temporary_Directory directory;
  Settings_Sources sources;
  sources.file = directory.path() / "package-minder.properties";
  std::ofstream(sources.file.string())
      << without_marks(example(velmora_host::setting_table(), "/etc/x", Example::COMMENTED));
  sources.file_is_required = true;

  const Settings settings(sources);

  int settings_in_file = 0;
  for (const auto& setting : settings.all()) {
    if (setting.source == Setting_Source::DEFAULT) {
      continue;
    }
    ++settings_in_file;
    const auto& known = *velmora_host::setting_table().find(setting.key);
    if (settings.configuration().has(setting.key)) {
      EXPECT_EQ(settings.configuration().getString(setting.key), known.default_value);
      EXPECT_EQ(known.default_without_systemd, "");
    } else {
      EXPECT_TRUE(known.is_unset_when_empty()) << setting.key;
    }
  }
  EXPECT_EQ(settings_in_file, 26);
}

TEST(ExampleOfSettings, DiffersFromTheOneInForceByTheMarksOnly) {
  const auto table = packaged_table();

  EXPECT_EQ(without_marks(example(table, "/etc/x", Example::COMMENTED)),
            example(table, "/etc/x", Example::IN_FORCE) + "\n");
}

TEST(ExampleOfSettings, ShowsTheDefaultsOfItsTable) {
  Setting_Defaults defaults;
  defaults.apt_url = "https://vendor.example/";
  defaults.apt_url_without_systemd = "http://vendor.example/";
  defaults.dnf_url = "https://vendor.example/rpm";

  const std::string text = example(Setting_Table(defaults), "/srv/x.properties", Example::COMMENTED);

  EXPECT_THAT(text, HasSubstr("Default, also when empty: https://vendor.example/ with systemd, "
                              "http://vendor.example/\n# without.\n"));
  EXPECT_THAT(text, HasSubstr("\n#package.apt.repo.url =\n"));
  EXPECT_THAT(text, HasSubstr("\n#package.dnf.repo.url = https://vendor.example/rpm\n"));
  EXPECT_THAT(text, HasSubstr("/srv/x.properties"));
  EXPECT_THAT(text, Not(HasSubstr("choco")));
  EXPECT_THAT(text, Not(HasSubstr("minder.base_directory")));
}

TEST(PackagedTable, HasThePathsOfThePackages) {
  const auto table = packaged_table();

  EXPECT_EQ(table.find("minder.staging_directory")->default_value, "/usr/share/package-minder/staging");
  EXPECT_EQ(table.find("minder.state_directory")->default_value, "/var/lib/package-minder");
}

TEST(FilledDocument, HasItsPartsMadeAnew) {
  const std::string text =
      fill("before\n<!-- generated: settings table apt -->\nold\n<!-- end of generated -->\nafter\n",
           packaged_table());

  EXPECT_TRUE(text.starts_with(
      "before\n<!-- generated: settings table apt -->\n| Key | Type | Unit | Default | "
      "Meaning |\n|---|---|---|---|---|\n| `package.apt.repo.url` | URL that APT reads |  | "
      "`https://repo.velmora.example/velmora-apt-repo/` with systemd, "
      "`http://repo.velmora.example/velmora-apt-repo/` without | Address of the repository. "))
      << text;
  EXPECT_TRUE(text.ends_with("|\n<!-- end of generated -->\nafter\n")) << text;
  EXPECT_THAT(text, Not(HasSubstr("old")));
  EXPECT_THAT(text, Not(HasSubstr("package.dnf")));
}

TEST(FilledDocument, IsTheSameWhenFilledAgain) {
  const std::string once = fill(
      "# generated: settings completion ---\n# end of generated\n# generated: settings list dnf\n# end of "
      "generated\n",
      packaged_table());

  EXPECT_EQ(fill(once, packaged_table()), once);
  EXPECT_THAT(once, HasSubstr("        minder.log.format) echo \"auto terminal journal\" ;;\n"));
  EXPECT_THAT(
      once, HasSubstr("\n**package.dnf.repo.channel**\n:   Channel below that address.\n\n    Type: name of "
                      "letters, digits and . \\_ - + \\~ / \\$. Default: `systemd-production`.\n"));
}

TEST(FilledDocument, IsRefusedWithAnUnknownPartOrOneWithoutAnEnd) {
  EXPECT_THROW(fill("generated: settings poem\nend of generated\n", packaged_table()), std::invalid_argument);
  EXPECT_THROW(fill("generated: settings completion\n", packaged_table()), std::invalid_argument);
}

TEST(FilledDocument, WithoutPartsIsTheSame) {
  EXPECT_EQ(fill("a\nb\n", packaged_table()), "a\nb\n");
  EXPECT_EQ(fill("", packaged_table()), "");
}

}  // namespace
}  // namespace zant::program::setting_documents
