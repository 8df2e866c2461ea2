#include <zant/velmora_host/families/apt/online_refresh.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct Example {
  const char* name;
  const char* words;
  const char* code;
};

void PrintTo(const Example& example, std::ostream* out) {
  *out << example.name;
}

class OnlineRefresh : public Outlook_Example, public ::testing::WithParamInterface<Example> {
 protected:
  OnlineRefresh() {
    host.write("/etc/apt/sources.list.d/zant-velmora.list",
               "deb [arch=amd64] http://repo.velmora.test/velmora-apt-repo/ systemd-production main\n");
    answers("sh -c *", 0);
  }

  Online_Refresh refreshed(int exit_code, const std::string& words) {
    host.system->on_like("LC_ALL=C timeout --kill-after=1 12 apt-get -c *", exit_code, words);
    return refresh_online(question, "/private/conf", APT_Settings("", *host.services.filesystem));
  }
};

TEST_F(OnlineRefresh, GivesTheListsWhenTheRepositoryAnswers) {
  const auto refresh = refreshed(0, "Get:1 http://repo.velmora.test systemd-production InRelease\n");

  ASSERT_TRUE(refresh.lists);
  EXPECT_EQ(*refresh.lists, question.private_directory / "lists");
  EXPECT_THAT(refresh.causes, IsEmpty());
}

TEST_F(OnlineRefresh, DoesNotTakeForAnAnswerWhatAptPassesOverWithAWarning) {
  const auto refresh =
      refreshed(0, "W: Invalid 'Date' entry in Release file /var/lib/apt/lists/partial/r_InRelease\n");

  EXPECT_FALSE(refresh.lists);
  EXPECT_THAT(codes(refresh.causes), ElementsAre("blocks repository.index_refused"));
}

TEST_F(OnlineRefresh, ReadsWhatOtherListsSayOfTheRepository) {
  host.set("package.apt.repo.url", "http://repo.velmora.test/velmora-apt-repo/");
  settings = host.settings();
  host.write("/etc/apt/sources.list",
             "deb http://deb.example/debian stable main\n"
             "deb http://repo.velmora.test/velmora-apt-repo systemd-production main\n"
             "deb http://repo.velmora.test/velmora-apt-repo another-suite main\n");
  host.write("/etc/apt/sources.list.d/other.sources",
             "Types: deb\nURIs: http://repo.velmora.test/velmora-apt-repo\nSuites: systemd-production\n"
             "Components: main\nSigned-By: /nonexistent.gpg\n\nTypes: deb\nURIs: http://other.example/\n"
             "Suites: stable\nComponents: main\n");

  const auto refresh = refreshed(100, "E: The repository 'http://r x InRelease' is not signed.");

  const auto sources = question.private_directory / "sources";
  const auto text = [&](const char* name) {
    return host.services.filesystem->read_file(sources / name, velmora::Read_Flag::WHOLE_TEXT);
  };
  EXPECT_EQ(text("0.list"), "deb http://repo.velmora.test/velmora-apt-repo systemd-production main\n\n");
  EXPECT_EQ(text("zant-velmora.list"),
            "deb [arch=amd64] http://repo.velmora.test/velmora-apt-repo/ systemd-production main\n");
  EXPECT_EQ(text("other.sources"),
            "Types: deb\nURIs: http://repo.velmora.test/velmora-apt-repo\nSuites: systemd-production\n"
            "Components: main\nSigned-By: /nonexistent.gpg\n\n");
  EXPECT_THAT(
      host.system->commands().back(),
      HasSubstr("-o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts='" + sources.string() + "'/ "));
  ASSERT_THAT(codes(refresh.causes), ElementsAre("blocks repository.listed_with_another_key"));
  EXPECT_EQ(refresh.causes[0].remedy,
            "Remove the repository from /etc/apt/sources.list.d/other.sources: package-minder registers it");
}

TEST_F(OnlineRefresh, DoesNotBlameAnotherListForWhatIsNotOfItsKey) {
  host.set("package.apt.repo.url", "http://repo.velmora.test/velmora-apt-repo/");
  settings = host.settings();
  host.write("/etc/apt/sources.list.d/other.list",
             "deb [signed-by=/x.gpg] http://repo.velmora.test/velmora-apt-repo systemd-production main\n");

  EXPECT_THAT(codes(refreshed(100, "E: Release file for http://r/ is expired (invalid since 1d 2h).").causes),
              ElementsAre("blocks repository.expired"));
}

TEST_P(OnlineRefresh, KnowsWhatAptSays) {
  const auto refresh = refreshed(100, GetParam().words);

  EXPECT_FALSE(refresh.lists);
  EXPECT_THAT(codes(refresh.causes), ElementsAre(GetParam().code));
}

TEST_F(OnlineRefresh, AllowsAChangedOriginAndNothingElse) {
  const auto remedy_for = [this](const std::string& origin) {
    return refreshed(100, "E: Repository 'r' changed its 'Origin' value from 'a' to '" + origin + "'")
        .causes.at(0)
        .remedy;
  };

  EXPECT_EQ(remedy_for("b"),
            "apt-get --allow-releaseinfo-change update && echo 'Unattended-Upgrade::Origins-Pattern "
            "{\"o=b\";};' > /etc/apt/apt.conf.d/zzz-zant-velmora");
  EXPECT_EQ(remedy_for("b\";}; APT::Get::AllowUnauthenticated \"true"),
            "apt-get --allow-releaseinfo-change update");
  EXPECT_EQ(remedy_for(std::string(1000000, 'x')), "apt-get --allow-releaseinfo-change update");
}

INSTANTIATE_TEST_SUITE_P(
    Words, OnlineRefresh,
    ::testing::Values(
        Example{
            "unreadable_keyring",
            "W: The key(s) in the keyring /etc/apt/trusted.gpg.d/zant-velmora.gpg are ignored as the file "
            "is not readable by user executing gpgv.\nE: NO_PUBKEY 1234",
            "blocks keyring.unreadable"},
        Example{
            "another_unreadable_keyring",
            "W: The key(s) in the keyring /etc/apt/trusted.gpg.d/other.gpg are ignored as the file is not "
            "readable by user executing gpgv.\nE: NO_PUBKEY 1234",
            "blocks repository.signature_refused"},
        Example{"password",
                "Err:1 http://r InRelease\n  401  Unauthorized [IP: 1.2.3.4 80]\nE: The repository "
                "'http://r' is not signed.",
                "blocks repository.access_denied"},
        Example{"forbidden", "Err:1 http://r InRelease\n  403  Forbidden [IP: 1.2.3.4 80]\n",
                "obscures repository.access_denied"},
        Example{"fault",
                "E: Failed to fetch http://r/InRelease  503  Service Unavailable [IP: 1.2.3.4 80]\nE: The "
                "repository 'http://r x Release' no longer has a Release file.",
                "obscures server.failing"},
        Example{"gone", "E: The repository 'http://r x Release' no longer has a Release file.",
                "blocks repository.suite_missing"},
        Example{"no_longer_signed", "E: The repository 'http://r x InRelease' is no longer signed.",
                "blocks repository.not_signed"},
        Example{"expired", "E: Release file for http://r/ is expired (invalid since 1d 2h).",
                "blocks repository.expired"},
        Example{"future", "E: Release file for http://r/ is not valid yet (invalid for another 3h).",
                "blocks repository.from_future"},
        Example{"key", "W: GPG error: http://r InRelease: NO_PUBKEY 0123456789ABCDEF",
                "blocks repository.signature_refused"},
        Example{"unsigned", "E: The repository 'http://r InRelease' is not signed.",
                "blocks repository.not_signed"},
        Example{"portal",
                "E: Clearsigned file isn't valid, got 'NOSPLIT' (does the network require authentication?)",
                "obscures repository.not_an_index"},
        Example{"component",
                "W: Skipping acquire of configured file 'main/binary-amd64/Packages' as repository 'http://r "
                "InRelease' "
                "doesn't have the component 'main' (component misspelt in sources.list?)",
                "blocks repository.component_missing"},
        Example{"architecture",
                "N: Skipping acquire of configured file as repository 'http://r InRelease' doesn't support "
                "architecture 'amd64'",
                "blocks repository.architecture_missing"},
        Example{"suite", "E: The repository 'http://r x Release' does not have a Release file.",
                "blocks repository.suite_missing"},
        Example{"name", "E: Failed to fetch http://r/  Could not resolve 'r'",
                "obscures server.name_unknown"},
        Example{"certificate", "E: Failed to fetch https://r/  Certificate verification failed",
                "blocks server.certificate_refused"},
        Example{"tls", "E: Failed to fetch https://r/  Could not handshake: Error in the pull function.",
                "obscures server.tls_failed"},
        Example{"refused",
                "E: Failed to fetch http://r/  Could not connect to r:80 (127.0.0.1). - connect (111: "
                "Connection refused)",
                "obscures server.unreachable"},
        Example{"hash", "E: Failed to fetch http://r/Packages.gz  Hash Sum mismatch",
                "obscures repository.inconsistent"},
        Example{"other", "E: Il est arrivé quelque chose", "obscures repository.refresh_failed"}),
    [](const auto& info) { return info.param.name; });

TEST_F(OnlineRefresh, KnowsAServerThatIsSilent) {
  EXPECT_THAT(codes(refreshed(124, "").causes), ElementsAre("obscures server.silent"));
}

class MissingPackage : public OnlineRefresh {
 protected:
  std::vector<std::string> found(int exit_code, const std::string& words) {
    answers("sh -c 'mkdir *", exit_code, words);
    return codes(find_missing_package(question, "/private/conf", "2.0", "/private/archives"));
  }
};

TEST_F(MissingPackage, IsNoneWhenItComesOrIsTooLarge) {
  EXPECT_THAT(found(0, ""), IsEmpty());
  EXPECT_THAT(found(124, ""), IsEmpty());
}

TEST_F(MissingPackage, IsToldWithWhatIsWrong) {
  EXPECT_THAT(found(100, "E: Failed to fetch http://r/pool/x.deb  404  Not Found\n"),
              ElementsAre("blocks package.not_on_server"));
  EXPECT_THAT(found(100, "E: Failed to fetch http://r/pool/x.deb  Hash Sum mismatch\n"),
              ElementsAre("blocks package.hash_mismatch"));
  EXPECT_THAT(found(100, "E: Something else\n"), ElementsAre("obscures package.not_fetched"));
}

TEST_F(MissingPackage, TakesNoPartOfAHashForAnAnswerOfTheServer) {
  EXPECT_THAT(found(100, "E: Failed to fetch http://r/x.deb  Hash Sum mismatch\n    - SHA256:f404a1\n"),
              ElementsAre("blocks package.hash_mismatch"));
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
