#include <zant/velmora_host/staging/keyring.hpp>

#include <zant/velmora_host/staging/openpgp_packets.hpp>

#include <support/host_side/keyring_examples.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;
using ::testing::SizeIs;
using namespace std::string_literals;

// The packets of a keyring, framed anew by `frame`.
template <typename Frame>
std::string reframed(const std::string& keyring, Frame frame) {
  std::string bytes;
  const auto packets = openpgp::split_packets(keyring);
  for (const auto& packet : packets.value()) {
    bytes += frame(packet);
  }
  return bytes;
}

std::string fingerprint_in(const std::string& keyring) {
  const auto parsed = parse_keyring(keyring);
  return parsed && parsed->keys.size() == 1 ? parsed->keys[0].fingerprint : "none";
}

TEST(KeyringReader, ReadsPacketsOfTheNewFormatWithLengthsOfAllSizes) {
  const auto four_bytes = [](const openpgp::Packet& packet) {
    return std::string(1, static_cast<char>(0xC0 | packet.tag)) + "\xFF\0\0\0"s +
           static_cast<char>(packet.body.size()) + packet.body;
  };
  const auto partial = [](const openpgp::Packet& packet) {
    // One byte of the body, then the rest.
    return std::string(1, static_cast<char>(0xC0 | packet.tag)) + "\xE0"s + packet.body.substr(0, 1) +
           static_cast<char>(packet.body.size() - 1) + packet.body.substr(1);
  };

  EXPECT_EQ(fingerprint_in(reframed(test_support::GOOD_KEYRING, four_bytes)),
            "4A3B843A1F3D4F09D7A06659C4A1C7AE6D372198");
  EXPECT_EQ(fingerprint_in(reframed(test_support::GOOD_KEYRING, partial)),
            "4A3B843A1F3D4F09D7A06659C4A1C7AE6D372198");
}

TEST(KeyringReader, ReadsALengthOfTwoBytes) {
  const auto packets = openpgp::split_packets("\xCD\xC0\x08"s + std::string(200, 'x'));

  ASSERT_TRUE(packets);
  EXPECT_EQ(packets->at(0).tag, 13);
  EXPECT_THAT(packets->at(0).body, SizeIs(200));
}

// Every input that is cut short is refused, or is a keyring with less in it; none is read past its end.
TEST(KeyringReader, BearsEveryKeyringThatIsCutShort) {
  const std::string& whole = test_support::TWO_NAMES_KEYRING;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const auto keyring = parse_keyring(whole.substr(0, size));
    EXPECT_TRUE(!keyring || keyring->keys.size() <= 2) << size;
  }
}

TEST(KeyringReader, BearsEveryChangedByte) {
  for (std::size_t place = 0; place < test_support::EXPIRED_PRIMARY.size(); ++place) {
    for (const char mask : {'\x01', '\x40', '\x80', '\xFF'}) {
      std::string changed = test_support::EXPIRED_PRIMARY;
      changed[place] = static_cast<char>(changed[place] ^ mask);
      parse_keyring(changed);
    }
  }
}

TEST(KeyringReader, TakesNoExpiryFromSomebodyElsesSignature) {
  // The user name's signature names another issuer then.
  std::string keyring = test_support::EXPIRED_PRIMARY;
  const std::string fingerprint = "\x08\xB1\x3D\x28\x42\x6B\xEB\x73"s;
  for (auto place = keyring.find(fingerprint); place != std::string::npos;
       place = keyring.find(fingerprint)) {
    keyring[place] = '\x09';
  }

  const auto parsed = parse_keyring(keyring);

  ASSERT_TRUE(parsed);
  EXPECT_FALSE(parsed->keys.at(0).expiry);
}

TEST(KeyringReader, GivesASubkeyTheExpiryOfItsPrimaryKey) {
  const auto parsed = parse_keyring(test_support::EXPIRED_PRIMARY);

  ASSERT_TRUE(parsed);
  ASSERT_THAT(parsed->keys, SizeIs(2));
  EXPECT_EQ(parsed->keys[0].expiry, system_clock::from_time_t(1609372800));
  EXPECT_FALSE(parsed->keys[0].can_sign);
  EXPECT_EQ(parsed->keys[1].expiry, system_clock::from_time_t(1609372800));
  EXPECT_TRUE(parsed->keys[1].can_sign);
}

TEST(KeyringReader, TakesALifetimeBeyondTheEndOfTheClockForNone) {
  // Of version 3: made at the last moment that it can be, for the longest time.
  const auto parsed = parse_keyring("\x98\x0A\x03\xFF\xFF\xFF\xFF\xFF\xFF\x01\x08\x00"s);

  ASSERT_TRUE(parsed);
  EXPECT_FALSE(parsed->keys.at(0).expiry);
}

TEST(KeyringReader, RefusesDataThatIsNoKeyring) {
  EXPECT_FALSE(parse_keyring("\xCB\x03xyz"s)) << "literal data";
  EXPECT_FALSE(parse_keyring("<html>"));
}

}  // namespace
}  // namespace zant::velmora_host
