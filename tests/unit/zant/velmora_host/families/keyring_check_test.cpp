#include <zant/velmora_host/families/keyring_check.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host {
namespace {

using std::chrono::hours;
using std::chrono::system_clock;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* LISTING =
    "pub:-:255:22:0123456789ABCDEF:1700000000:1800000000::-:::scSC:::::ed25519:::0:\n"
    "fpr:::::::::AAAA0123456789ABCDEF:\n"
    "uid:-::::1700000000::1234::Quorvane::::::::::0:\n"
    "sub:e:2048:1:FEDCBA9876543210:1700000000:1710000000:::::e::::::23:\n"
    "fpr:::::::::BBBBFEDCBA9876543210:\n"
    "pub:r:1024:17:1111111111111111:1000000000:::-:::scSC::::::23::0:\n"
    "fpr:::::::::CCCC1111111111111111:\n";

TEST(KeyListing, HoldsTheKeysThatSign) {
  const auto keys = parse_key_listing(LISTING);

  ASSERT_EQ(keys.size(), 2U);
  EXPECT_EQ(keys[0].fingerprint, "AAAA0123456789ABCDEF");
  EXPECT_EQ(keys[0].algorithm, 22);
  EXPECT_EQ(keys[0].expiry, system_clock::from_time_t(1800000000));
  EXPECT_FALSE(keys[0].revoked);
  EXPECT_EQ(keys[1].fingerprint, "CCCC1111111111111111");
  EXPECT_EQ(keys[1].bits, 1024);
  EXPECT_TRUE(keys[1].revoked);
  EXPECT_FALSE(keys[1].expiry);
}

TEST(KeyListing, OfNonsenseHoldsNothing) {
  EXPECT_THAT(parse_key_listing(""), IsEmpty());
  EXPECT_THAT(parse_key_listing("pub\n:::\nfpr:1\n"), IsEmpty());
}

class KeyFaults : public ::testing::Test {
 protected:
  std::vector<std::string> codes_of(const Signing_Key& key) {
    std::vector<std::string> codes;
    for (const auto& finding : find_key_faults("/keyring", {key}, now_)) {
      codes.push_back(finding.code);
    }
    return codes;
  }

  system_clock::time_point now_ = system_clock::from_time_t(1800000000);
  Signing_Key key_{"AB", 22, 255, false, std::nullopt};
};

TEST_F(KeyFaults, AreNoneInAGoodKey) {
  EXPECT_THAT(codes_of(key_), IsEmpty());

  key_.expiry = now_ + hours(24 * 31);
  EXPECT_THAT(codes_of(key_), IsEmpty());
}

TEST_F(KeyFaults, TellAnExpiredKey) {
  key_.expiry = now_;

  EXPECT_THAT(codes_of(key_), ElementsAre("keyring.key_expired"));
  EXPECT_EQ(find_key_faults("/keyring", {key_}, now_)[0].what, "the key AB expired on 2027-01-15");
}

TEST_F(KeyFaults, TellAKeyThatExpiresWithinAMonth) {
  key_.expiry = now_ + hours(24 * 29);

  EXPECT_THAT(codes_of(key_), ElementsAre("keyring.key_expires_soon"));
}

TEST_F(KeyFaults, TellARevokedKey) {
  key_.revoked = true;

  EXPECT_THAT(codes_of(key_), ElementsAre("keyring.key_revoked"));
}

TEST_F(KeyFaults, TellAWeakKey) {
  EXPECT_THAT(codes_of({"AB", 1, 1024, false, std::nullopt}), ElementsAre("keyring.weak_key"));
  EXPECT_THAT(codes_of({"AB", 17, 3072, false, std::nullopt}), ElementsAre("keyring.weak_key"));
  EXPECT_THAT(codes_of({"AB", 1, 2048, false, std::nullopt}), IsEmpty());
}

TEST_F(KeyFaults, TellAKeyringWithoutKeys) {
  EXPECT_EQ(find_key_faults("/keyring", {}, now_).at(0).code, "keyring.empty");
}

// gpg is given a directory of a name that nobody knows before, so its line cannot be scripted.
class Stub_Gpg : public velmora::System {
 public:
  velmora::Command_Result run_command(const std::string& command, bool /*flag*/) override {
    if (command == "command -v gpg > /dev/null") {
      return {"", is_there ? 0 : 1};
    }
    return {listing, exit_code};
  }

  bool is_there = true;
  int exit_code = 0;
  std::string listing;
};

class KeyringCheck : public ::testing::Test {
 protected:
  KeyringCheck() { files_.add_file("/keyring", "binary"); }

  Check_Report check() {
    Check_Report report;
    check_keyring(gpg_, files_, "/keyring", report);
    return report;
  }

  Stub_Gpg gpg_;
  velmora::test_support::Fake_Filesystem files_;
};

TEST_F(KeyringCheck, FindsNothingInAGoodKeyring) {
  gpg_.listing = "pub:-:255:22:01:1700000000:::-:::scSC:::::ed25519:::0:\nfpr:::::::::AA:\n";

  const auto report = check();

  EXPECT_THAT(report.findings, IsEmpty());
  EXPECT_THAT(report.unchecked, IsEmpty());
}

TEST_F(KeyringCheck, FindsAnArmouredKeyringWithoutGpgToo) {
  files_.add_file("/keyring", "-----BEGIN PGP PUBLIC KEY BLOCK-----\n");
  gpg_.is_there = false;

  EXPECT_EQ(check().findings.at(0).code, "keyring.armoured");
}

TEST_F(KeyringCheck, SaysWhatItCouldNotCheckWithoutGpg) {
  gpg_.is_there = false;

  const auto report = check();

  EXPECT_THAT(report.findings, IsEmpty());
  EXPECT_EQ(report.unchecked.at(0).code, "keyring");
}

TEST_F(KeyringCheck, FindsWhatGpgCannotRead) {
  gpg_.exit_code = 2;

  EXPECT_EQ(check().findings.at(0).code, "keyring.unreadable");
}

}  // namespace
}  // namespace zant::velmora_host
