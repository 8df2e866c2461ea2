#include <zant/velmora_host/families/keyring_check.hpp>

#include <support/fake_filesystem.hpp>
#include <support/host_side/keyring_examples.hpp>

#include <Poco/Base64Encoder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using std::chrono::hours;
using std::chrono::system_clock;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

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

class KeyringCheck : public ::testing::Test {
 protected:
  Check_Report check(const std::string& keyring) {
    files_.add_file("/keyring", keyring);
    Check_Report report;
    check_keyring(files_, "/keyring", report);
    return report;
  }

  std::vector<std::string> codes_of(const std::string& keyring) {
    std::vector<std::string> codes;
    for (const auto& finding : check(keyring).findings) {
      codes.push_back(finding.code);
    }
    return codes;
  }

  velmora::test_support::Fake_Filesystem files_;
};

TEST_F(KeyringCheck, FindsNothingInAGoodKeyring) {
  EXPECT_THAT(codes_of(test_support::GOOD_KEYRING), IsEmpty());
}

TEST_F(KeyringCheck, ListsEachKeyWithItsNames) {
  const auto keys = check(test_support::TWO_NAMES_KEYRING).keys;

  ASSERT_EQ(keys.size(), 2U);
  EXPECT_EQ(keys[0].keyring, "/keyring");
  EXPECT_EQ(keys[0].fingerprint, "493A5D55D0B8B5A1240F4438FB5AC0D41F84EEC9");
  EXPECT_EQ(keys[0].primary, keys[0].fingerprint);
  EXPECT_THAT(keys[0].user_names,
              UnorderedElementsAre("Two Names <a@velmora.test>", "Other Name <b@velmora.test>"));
  EXPECT_EQ(keys[0].algorithm, "RSA");
  EXPECT_EQ(keys[0].bits, 2048);
  EXPECT_EQ(keys[0].created, "2026-01-01");
  EXPECT_EQ(keys[0].expires, "2029-01-31");
  EXPECT_TRUE(keys[0].can_sign);
  EXPECT_EQ(keys[1].fingerprint, "887ACCB0B702658DF0C8D11DF6ACC50F84F3EBE0");
  EXPECT_EQ(keys[1].primary, keys[0].fingerprint);
  EXPECT_EQ(keys[1].algorithm, "ECDH");
  EXPECT_EQ(keys[1].expires, "2027-01-01");
  EXPECT_FALSE(keys[1].can_sign);
}

TEST_F(KeyringCheck, RefusesASigningSubkeyOfAnExpiredPrimaryKeyAsAptDoes) {
  const auto findings = check(test_support::EXPIRED_PRIMARY).findings;

  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(to_string(findings[0]),
            "/keyring: the key 6941A55073DED1247CDD6E34659C536AE172B49D expired on 2020-12-31; put the "
            "keyring with the repository's current keys there");
  EXPECT_EQ(findings[0].code, "keyring.key_expired");
}

TEST_F(KeyringCheck, FindsRevokedAndWeakKeys) {
  EXPECT_THAT(codes_of(test_support::REVOKED_KEYRING), ElementsAre("keyring.key_revoked"));
  EXPECT_THAT(codes_of(test_support::WEAK_KEYRING), ElementsAre("keyring.weak_key"));
  EXPECT_THAT(codes_of(test_support::SHA1_KEYRING), ElementsAre("keyring.weak_digest"));
}

TEST_F(KeyringCheck, FindsASecretKeyAndSaysSoAlone) {
  const auto report = check(test_support::SECRET_KEYRING);

  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(to_string(report.findings[0]),
            "/keyring: holds a secret key: whoever reads this file can sign in the vendor's name; tell the "
            "vendor, and put a keyring of public keys there, as \"gpg --export\" writes it");
  EXPECT_EQ(report.findings[0].code, "keyring.secret_key");
}

TEST_F(KeyringCheck, ReadsAnArmouredKeyringToo) {
  std::ostringstream armoured;
  armoured << "-----BEGIN PGP PUBLIC KEY BLOCK-----\nComment: x\n\n";
  Poco::Base64Encoder encoder(armoured);
  encoder << test_support::WEAK_KEYRING;
  encoder.close();
  armoured << "\n=abcd\n-----END PGP PUBLIC KEY BLOCK-----\n";

  EXPECT_THAT(codes_of(armoured.str()), ElementsAre("keyring.armoured", "keyring.weak_key"));
}

TEST_F(KeyringCheck, FindsWhatIsNoKeyring) {
  EXPECT_THAT(codes_of("the keys"), ElementsAre("keyring.unreadable"));
  EXPECT_THAT(codes_of("\x99"), ElementsAre("keyring.unreadable"));
  EXPECT_THAT(codes_of(std::string(std::size_t{1} << 21U, '\x99')), ElementsAre("keyring.unreadable"));
  EXPECT_THAT(codes_of(""), ElementsAre("keyring.empty"));
}

}  // namespace
}  // namespace zant::velmora_host
