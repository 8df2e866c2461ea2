#include <zant/velmora_host/families/apt/refresh_state.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include <support/host_side/keyring_examples.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

using std::chrono::hours;
using std::chrono::system_clock;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* INDEX = "/var/lib/apt/lists/repo_dists_systemd-production_main_binary-amd64_Packages";

// A key as "gpg --export" wrote it, and an index that it signed.
const std::string KNOWN_KEYRING = test_support::from_base64(
    "mDMEawKieBYJKwYBBAHaRw8BAQdAS2TLNeREaWWISPoreTZoKCaCLRK2/rPzHcTJiI8HQK20Hktub3duIEtleSA8a25vd25Adm"
    "VsbW9yYS50ZXN0PoiQBBMWCAA4FiEEJyXlMSG6h8CTc6kfHfbLahfHUKcFAmsCongCGwMFCwkIBwIGFQoJCAsCBBYCAwECHgEC"
    "F4AACgkQHfbLahfHUKdXtwEA2nXgiMshoW/jEIgubTx7mE529qCH0cayaW55CcRylRoA/jo+aqIGESN+5yRI0PCZWzXNTwS8e+"
    "OEQDCI3d3zyB8J");
constexpr const char* SIGNED_INDEX =
    "-----BEGIN PGP SIGNED MESSAGE-----\n"
    "Hash: SHA256\n"
    "\n"
    "Origin: x\n"
    "-----BEGIN PGP SIGNATURE-----\n"
    "\n"
    "iHQEARYIAB0WIQQnJeUxIbqHwJNzqR8d9stqF8dQpwUCawKieAAKCRAd9stqF8dQ\n"
    "p3S/APwNCF0++G3ss/j1w1RtFADvNZZMACoZTrJFl9WQPenOogD1E8tMwq/HvskC\n"
    "2Bk51jTfux9jWcafPkCX9WMHDxM1CQ==\n"
    "=H/WJ\n"
    "-----END PGP SIGNATURE-----\n";

class RefreshState : public Outlook_Example {
 protected:
  RefreshState() {
    host.system->on("apt-get --print-uris update 2> /dev/null", 0, "");
    answered(question.now - hours(1));
  }

  // The repository last answered then.
  void answered(system_clock::time_point time) {
    answers("stat --format=%Z '/var/lib/apt/lists/repo_dists_systemd-production_InRelease'", 0, epoch(time));
  }

  void stamped(system_clock::time_point time) {
    answers("stat --format=%Y /var/lib/apt/periodic/update-stamp", 0, epoch(time));
  }

  static std::string epoch(system_clock::time_point time) {
    return std::to_string(system_clock::to_time_t(time)) + "\n";
  }
};

TEST_F(RefreshState, TellsWhenTheRepositoryAnswered) {
  answered(parse_iso_time("2026-01-31T03:00:00Z"));
  question.now = parse_iso_time("2026-01-31T04:00:00Z");

  const auto state = find_refresh_state(question, INDEX, false, std::nullopt, {});

  EXPECT_EQ(state.refreshed, parse_iso_time("2026-01-31T03:00:00Z"));
  EXPECT_THAT(state.causes, IsEmpty());
}

TEST_F(RefreshState, NamesAnAnswerOfLongAgoAndNone) {
  answered(question.now - hours(73));
  EXPECT_THAT(codes(find_refresh_state(question, INDEX, false, std::nullopt, {}).causes),
              ElementsAre("obscures repository.not_refreshed"));

  answers("stat --format=%Z '/var/lib/apt/lists/repo_dists_systemd-production_InRelease'", 1,
          "stat: cannot statx: No such file or directory\n");
  EXPECT_THAT(codes(find_refresh_state(question, INDEX, false, std::nullopt, {}).causes),
              ElementsAre("obscures repository.not_refreshed"));
}

TEST_F(RefreshState, NamesARefreshThatFailed) {
  answered(question.now - hours(2));
  stamped(question.now - hours(2));
  const auto causes = find_refresh_state(question, INDEX, false, question.now - hours(1), {}).causes;
  ASSERT_THAT(codes(causes), ElementsAre("obscures repository.refresh_failed"));
  EXPECT_EQ(causes[0].remedy,
            "Run \"apt-get -o APT::Update::Error-Mode=any update\" and put right what it complains of");

  stamped(question.now);
  EXPECT_THAT(find_refresh_state(question, INDEX, false, question.now - hours(1), {}).causes, IsEmpty());
}

TEST_F(RefreshState, OfAHostThatWasOffIsOldForNoReason) {
  answered(question.now - hours(24 * 8));
  Upgrade_Units units;
  const auto found = [&] {
    return codes(find_refresh_state(question, INDEX, false, std::nullopt, units).causes);
  };
  const auto is_old = ElementsAre("obscures repository.not_refreshed");

  answers("ps -o etimes= -p 1", 0, "   600\n");
  units.next_refresh = question.now + hours(11);
  units.refresh_triggered = question.now - hours(24 * 8);
  EXPECT_THAT(found(), IsEmpty());

  units.refresh_triggered = question.now - hours(24 * 6);
  EXPECT_THAT(found(), is_old) << "the timer has fired since";

  units.refresh_triggered.reset();
  EXPECT_THAT(found(), IsEmpty()) << "cron keeps no such time";

  units.next_refresh = question.now + hours(25);
  EXPECT_THAT(found(), is_old) << "it will not be caught up on soon";

  units.next_refresh = question.now + hours(11);
  for (const char* const up_for : {" 86400\n", "ps: not found\n", ""}) {
    answers("ps -o etimes= -p 1", 0, up_for);
    EXPECT_THAT(found(), is_old) << up_for;
  }
}

class RefusedIndex : public RefreshState {
 protected:
  RefusedIndex() {
    host.system->on("apt-get --print-uris update 2> /dev/null", 0,
                    "'https://repo.velmora.example/velmora-apt-repo/dists/systemd-production/InRelease' "
                    "repo_InRelease 0 \n");
    host.system->on_like("stat --format=%Z *", 1);
  }

  Causes found(const std::string& index) {
    host.write("/var/lib/apt/lists/partial/repo_InRelease", index);
    return find_refresh_state(question, INDEX, false, std::nullopt, {}).causes;
  }
};

TEST_F(RefusedIndex, IsNamedWithWhatHelps) {
  const auto causes = found("-----END PGP SIGNATURE-----\n");

  ASSERT_THAT(codes(causes), ElementsAre("obscures repository.signature_refused"));
  EXPECT_THAT(causes[0].message, HasSubstr("it has no signature that can be read"));
  EXPECT_EQ(causes[0].evidence, "/var/lib/apt/lists/partial/repo_InRelease is what it refused");
  EXPECT_EQ(causes[0].remedy, "package-minder once");
}

TEST_F(RefusedIndex, OfAKnownKeyIsAnotherMatter) {
  host.write("/etc/apt/trusted.gpg.d/zant-velmora.gpg", KNOWN_KEYRING);

  const auto causes = found(SIGNED_INDEX);

  ASSERT_THAT(codes(causes), ElementsAre("obscures repository.index_refused"));
  EXPECT_THAT(causes[0].message,
              HasSubstr("it names the key 2725E53121BA87C09373A91F1DF6CB6A17C750A7, which the keyring has"));
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
