#include <program/command_line.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace zant::program {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

class CommandLine : public ::testing::Test {
 protected:
  Parsed_Command_Line parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "package-minder");
    return parse_command_line(static_cast<int>(arguments.size()), arguments.data(), out_, err_);
  }

  Command_Line parsed(std::vector<const char*> arguments) {
    const auto result = parse(std::move(arguments));
    EXPECT_TRUE(result.command_line.has_value()) << err_.str();
    return result.command_line.value_or(Command_Line{});
  }

  std::ostringstream out_;
  std::ostringstream err_;
};

TEST_F(CommandLine, NamesTheCommand) {
  EXPECT_EQ(parsed({"run"}).command->name, "run");
  EXPECT_EQ(parsed({"once"}).command->name, "once");
  EXPECT_EQ(parsed({"hold"}).command->name, "hold");
  EXPECT_EQ(parsed({"release"}).command->name, "release");
  EXPECT_EQ(parsed({"purge"}).command->name, "purge");
}

TEST_F(CommandLine, PurgesAllUnlessToldOtherwise) {
  EXPECT_FALSE(parsed({"purge"}).invocation.upgrades_only);
  EXPECT_TRUE(parsed({"purge", "--upgrades-only"}).invocation.upgrades_only);
}

TEST_F(CommandLine, PurgesOnRemovalOnlyWhenToldSo) {
  EXPECT_FALSE(parsed({"purge"}).invocation.on_removal);
  EXPECT_TRUE(parsed({"purge", "--on-removal"}).invocation.on_removal);
}

TEST_F(CommandLine, ReadsTheUsualSettingsFileIfItIsThere) {
  const auto settings = parsed({"once"}).invocation.settings;

  EXPECT_THAT(settings.file.string(), ::testing::EndsWith("/package-minder/package-minder.properties"));
  EXPECT_FALSE(settings.file_is_required);
}

TEST_F(CommandLine, ReadsTheNamedSettingsFileWhichMustBeThere) {
  const auto settings = parsed({"--settings", "/srv/my.properties", "once"}).invocation.settings;

  EXPECT_EQ(settings.file, "/srv/my.properties");
  EXPECT_TRUE(settings.file_is_required);
}

TEST_F(CommandLine, CollectsSettingsInTheirOrder) {
  const auto settings =
      parsed({"--set", "a.b=c", "--set=minder.log.level=info", "--log-level", "debug", "once"})
          .invocation.settings;

  EXPECT_THAT(settings.overrides, ElementsAre(Pair("a.b", "c"), Pair("minder.log.level", "info"),
                                              Pair("minder.log.level", "debug")));
}

TEST_F(CommandLine, SplitsASettingAtTheFirstEqualsSign) {
  EXPECT_THAT(
      parsed({"--set", "package.apt.repo.origins_pattern=o=A;l=B", "once"}).invocation.settings.overrides,
      ElementsAre(Pair("package.apt.repo.origins_pattern", "o=A;l=B")));
  EXPECT_THAT(parsed({"--set", "package.apt.repo.origins_pattern=", "once"}).invocation.settings.overrides,
              ElementsAre(Pair("package.apt.repo.origins_pattern", "")));
}

TEST_F(CommandLine, TakesOptionsBehindTheCommandToo) {
  const auto line = parsed({"purge", "--set", "a=b", "--upgrades-only"});

  EXPECT_TRUE(line.invocation.upgrades_only);
  EXPECT_THAT(line.invocation.settings.overrides, ElementsAre(Pair("a", "b")));
}

class WrongUsage : public CommandLine, public ::testing::WithParamInterface<std::vector<const char*>> {};

TEST_P(WrongUsage, IsToldAndExitsWith64) {
  const auto result = parse(GetParam());

  EXPECT_FALSE(result.command_line.has_value());
  EXPECT_EQ(result.exit_status, 64);
  EXPECT_THAT(err_.str(), HasSubstr("Try \"package-minder --help\"."));
  EXPECT_THAT(out_.str(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , WrongUsage,
    ::testing::Values(std::vector<const char*>{}, std::vector<const char*>{"dance"},
                      std::vector<const char*>{"once", "hold"}, std::vector<const char*>{"once", "--loudly"},
                      std::vector<const char*>{"once", "--upgrades-only"},
                      std::vector<const char*>{"purge", "--upgrades-only", "--on-removal"},
                      std::vector<const char*>{"once", "further"}, std::vector<const char*>{"once", "--set"},
                      std::vector<const char*>{"once", "--set", "minder.interval"},
                      std::vector<const char*>{"once", "--set", "=60"},
                      std::vector<const char*>{"once", "--settings"},
                      std::vector<const char*>{"--log-level", "hushed", "once"}));

TEST_F(CommandLine, SaysWhatIsWrong) {
  parse({"once", "--set", "minder.interval"});

  EXPECT_THAT(err_.str(), HasSubstr("\"minder.interval\" is not of the form KEY=VALUE"));
}

TEST_F(CommandLine, SaysThatALogLevelIsNone) {
  parse({"once", "--log-level", "hushed"});

  EXPECT_THAT(err_.str(), HasSubstr("\"hushed\" is not a severity; --help lists them"));
}

TEST_F(CommandLine, NamesTheCommandsToWhoGivesNoneOrAnother) {
  parse({});
  EXPECT_THAT(err_.str(), ::testing::StartsWith(
                              "package-minder: no command is given; the commands are run, once, hold, "));

  parse({"--set", "a=b", "dance", "once"});
  EXPECT_THAT(err_.str(), HasSubstr("package-minder: \"dance\" is no command; the commands are run, once, "));
}

TEST_F(CommandLine, HelpFitsOnATerminal) {
  for (const char* command : {"run", "purge", "status"}) {
    parse({command, "--help"});
  }
  parse({"--help"});

  std::istringstream lines(out_.str());
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST_F(CommandLine, HelpNamesCommandsOptionsAndExitStatuses) {
  const auto result = parse({"--help"});

  EXPECT_FALSE(result.command_line.has_value());
  EXPECT_EQ(result.exit_status, 0);
  for (const char* text : {"run", "once", "hold", "release", "purge", "--settings FILE", "--set KEY=VALUE",
                           "--log-level", "--version", "Exit status:"}) {
    EXPECT_THAT(out_.str(), HasSubstr(text));
  }
}

TEST_F(CommandLine, HelpOfACommandNamesItsOptions) {
  EXPECT_EQ(parse({"purge", "--help"}).exit_status, 0);

  EXPECT_THAT(out_.str(), HasSubstr("--upgrades-only"));
}

TEST_F(CommandLine, VersionIsOneLine) {
  EXPECT_EQ(parse({"--version"}).exit_status, 0);

  EXPECT_THAT(out_.str(), ::testing::MatchesRegex("package-minder [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
}  // namespace zant::program
