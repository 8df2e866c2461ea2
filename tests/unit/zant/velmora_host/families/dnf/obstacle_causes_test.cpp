#include <zant/velmora_host/families/dnf/obstacle_causes.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace zant::velmora_host::dnf_outlook {
namespace {

using Json = nlohmann::json;
using ::testing::IsEmpty;

Cause cause(const Json& obstacle) {
  return causes_from({obstacle}).at(0);
}

Json at(const char* kind, const char* file, int line, const char* text, const char* word = "") {
  return {{"kind", kind}, {"file", file}, {"line", line}, {"text", text}, {"word", word}, {"version", "2.0"}};
}

TEST(DnfObstacleCauses, OfNothingAreNone) {
  EXPECT_THAT(causes_from({}), IsEmpty());
}

TEST(DnfObstacleCauses, NameTheLineThatExcludesAndTakeTheWordOut) {
  const Cause found = cause(at("excluded", "/etc/dnf/dnf.conf", 7, "exclude=foo zant-*", "zant-*"));

  EXPECT_EQ(found.effect, Cause_Effect::BLOCKS);
  EXPECT_EQ(found.code, "package.excluded");
  EXPECT_EQ(found.message, "DNF is told to leave out zant-velmora 2.0");
  EXPECT_EQ(found.evidence, "/etc/dnf/dnf.conf:7: exclude=foo zant-*");
  EXPECT_EQ(found.remedy, "sed -i -E '7s/(^|[ \\t,=])zant-\\*([ \\t,]|$)/\\1\\2/' '/etc/dnf/dnf.conf'");
}

TEST(DnfObstacleCauses, QuoteWhatAShellWouldTake) {
  EXPECT_EQ(cause(at("version_locked", "/etc/it's", 3, "x")).remedy, "sed -i -E '3d' '/etc/it'\\''s'");
}

TEST(DnfObstacleCauses, KnowAHold) {
  const Cause found = cause(at("excluded", "/etc/yum.repos.d/quorvane.repo", 9, "exclude=*", "*"));

  EXPECT_EQ(found.code, "hold.held");
  EXPECT_EQ(found.remedy, "package-minder release");
  EXPECT_EQ(cause(at("excluded", "/etc/yum.repos.d/quorvane.repo", 9, "excludepkgs=*", "*")).code,
            "package.excluded");
}

TEST(DnfObstacleCauses, GiveAdviceWhereNoLineIsKnown) {
  EXPECT_EQ(cause({{"kind", "excluded"}, {"word", "zant*"}}).remedy,
            "Remove zant* from excludepkgs in DNF's configuration");
  EXPECT_EQ(cause({{"kind", "switched_off"}}).remedy, "dnf config-manager --set-enabled quorvane");
}

TEST(DnfObstacleCauses, HaveACodeEach) {
  const std::pair<const char*, const char*> codes[] = {
      {"not_included", "package.not_included"},
      {"hidden", "package.hidden"},
      {"in_module", "package.in_module"},
      {"obsoleted", "package.obsoleted"},
      {"outranked", "repository.outranked"},
      {"passed_over", "package.passed_over"},
      {"installed_beside", "package.installed_beside"},
      {"unreadable", "repository.unreadable"},
      {"no_address", "dnf.configuration_broken"},
      {"options_refused", "dnf.configuration_broken"},
      {"no_key", "repository.key_not_imported"},
      {"signature_refused", "repository.signature_refused"},
      {"refused_by_rpm", "package.refused_by_rpm"},
      {"script_failed", "package.script_failed"},
      {"disk_full", "disk.full"},
      {"disk_low", "disk.low"},
      {"no_program", "service.program_missing"},
      {"no_automatic", "service.program_missing"},
      {"read_only", "disk.read_only"},
      {"not_registered", "repository.not_registered"},
      {"not_installed", "package.not_installed"},
      {"security_only", "upgrades.security_only"},
      {"not_applied", "upgrades.not_applied"},
      {"cache_only", "repository.cache_only"},
      {"never_expires", "repository.never_expires"},
      {"expires_late", "repository.never_expires"},
      {"never_refreshed", "repository.never_refreshed"},
      {"unreachable", "server.unreachable"},
      {"something new", "tools.failed"},
  };
  for (const auto& [kind, code] : codes) {
    EXPECT_EQ(cause({{"kind", kind}}).code, code) << kind;
  }
}

TEST(DnfObstacleCauses, BlockWhenDNFNeverAsksAndNotWhenItAsksRarely) {
  EXPECT_EQ(cause({{"kind", "never_expires"}}).effect, Cause_Effect::BLOCKS);
  EXPECT_EQ(cause({{"kind", "expires_late"}}).effect, Cause_Effect::OBSCURES);
}

TEST(DnfObstacleCauses, NameAnotherPackageWhoseSignatureEndsTheRun) {
  const Cause refused = cause({{"kind", "other_refused"},
                               {"words", "Package rival-2.0-1.noarch.rpm is not signed"},
                               {"by", "rival"},
                               {"other", "extras"}});

  EXPECT_EQ(refused.effect, Cause_Effect::BLOCKS);
  EXPECT_EQ(refused.code, "repository.signature_refused");
  EXPECT_EQ(
      refused.message,
      "rpm refuses the signature of rival, which is upgraded in the same run, and with it the whole run");
  EXPECT_EQ(refused.evidence, "Package rival-2.0-1.noarch.rpm is not signed");
  EXPECT_EQ(refused.remedy, "dnf config-manager --save --setopt=extras.excludepkgs=rival");

  const Cause without_key =
      cause({{"kind", "other_refused"}, {"by", "rival"}, {"address", "file:///a https://b/c?d&e"}});

  EXPECT_EQ(without_key.code, "repository.key_not_imported");
  EXPECT_EQ(without_key.remedy, "rpm --import 'file:///a' 'https://b/c?d&e'");
}

TEST(DnfObstacleCauses, CannotTellWhetherTwoVersionsGoTogether) {
  const Cause found = cause(
      at("installed_beside", "/etc/dnf/dnf.conf", 2, "installonlypkgs=foo zant-velmora", "zant-velmora"));

  EXPECT_EQ(found.effect, Cause_Effect::OBSCURES);
  EXPECT_EQ(found.evidence, "/etc/dnf/dnf.conf:2: installonlypkgs=foo zant-velmora");
  EXPECT_EQ(found.remedy, "sed -i -E '2s/(^|[ \\t,=])zant-velmora([ \\t,]|$)/\\1\\2/' '/etc/dnf/dnf.conf'");
}

TEST(DnfObstacleCauses, QuoteTheNameOfAPackage) {
  EXPECT_EQ(cause({{"kind", "obsoleted"}, {"by", "x;reboot"}, {"other", "extras"}}).remedy,
            "dnf config-manager --save --setopt=extras.excludepkgs='x;reboot'");
}

TEST(DnfObstacleCauses, TellWhatTheSolverLacks) {
  EXPECT_EQ(cause({{"kind", "unsolvable"}, {"words", "nothing provides x"}}).code, "solver.unmet");
  EXPECT_EQ(cause({{"kind", "unsolvable"}, {"words", "package a conflicts with b"}}).code, "solver.conflict");

  const Cause unknown =
      cause({{"kind", "unsolvable"}, {"words", "nothing provides x"}, {"unknown", {"appstream"}}});
  EXPECT_EQ(unknown.code, "solver.unknown");
  EXPECT_EQ(unknown.effect, Cause_Effect::OBSCURES);
}

TEST(DnfObstacleCauses, NameTheBrokenFileAndItsLine) {
  const Cause found = cause({{"kind", "configuration_broken"},
                             {"words",
                              "Parsing file \"/etc/dnf/dnf.conf\" failed: Parsing file '/etc/dnf/dnf.conf' "
                              "failed: IniParser: Missing '=' at line 7"}});
  EXPECT_EQ(found.message, "DNF cannot read /etc/dnf/dnf.conf");
  EXPECT_EQ(found.remedy, "sed -i 7d '/etc/dnf/dnf.conf'");

  EXPECT_EQ(cause({{"kind", "configuration_broken"}, {"words", "no idea"}}).remedy,
            "Correct the file that DNF names");
}

TEST(DnfObstacleCauses, TakeARefusedOptionOutOfTheFileThatHasIt) {
  const char* const words = "Maximum download speed is lower than minimum";
  const Cause of_all = cause({{"kind", "options_refused"},
                              {"file", "/etc/dnf/dnf.conf"},
                              {"line", 3},
                              {"text", "minrate=10M"},
                              {"words", words}});
  EXPECT_EQ(of_all.evidence,
            "/etc/dnf/dnf.conf:3: minrate=10M\nMaximum download speed is lower than minimum");
  EXPECT_EQ(of_all.remedy, "sed -i -E '3d' '/etc/dnf/dnf.conf'");

  const char* const renewed = "rm /etc/yum.repos.d/quorvane.repo && package-minder once";
  EXPECT_EQ(cause({{"kind", "options_refused"},
                   {"file", "/etc/yum.repos.d/quorvane.repo"},
                   {"line", 3},
                   {"text", "minrate=10M"},
                   {"words", words}})
                .remedy,
            renewed);
  EXPECT_EQ(cause({{"kind", "options_refused"}, {"words", words}}).remedy, renewed);
}

TEST(DnfObstacleCauses, SurviveWordsWithoutEnd) {
  const std::string name(1000000, 'x');

  EXPECT_EQ(cause({{"kind", "configuration_broken"}, {"words", "Parsing file '" + name}}).remedy,
            "Correct the file that DNF names");
}

TEST(DnfObstacleCauses, RefuseWhatIsNoObstacle) {
  EXPECT_THROW(causes_from({Json(1)}), Json::exception);
  EXPECT_THROW(causes_from({Json{{"kind", 1}}}), Json::exception);
}

}  // namespace
}  // namespace zant::velmora_host::dnf_outlook
