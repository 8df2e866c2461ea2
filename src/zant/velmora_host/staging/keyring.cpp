#include <zant/velmora_host/staging/keyring.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <zant/velmora/host/command_success.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <charconv>
#include <sstream>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;

constexpr const char* GPG_PRESENCE = "command -v gpg > /dev/null";
// A temporary home directory: gpg creates root's and writes files there for any command. The path is the last
// argument and comes from the settings, so it is quoted.
constexpr const char* LIST_KEYS =
    "gpg --homedir '{}' --batch --no-options --no-autostart --with-colons --fixed-list-mode --show-keys '{}'";

// The fields of a "pub" or "sub" line.
constexpr std::size_t VALIDITY = 1;
constexpr std::size_t BITS = 2;
constexpr std::size_t ALGORITHM = 3;
constexpr std::size_t EXPIRY = 6;
constexpr std::size_t CAPABILITIES = 11;
constexpr std::size_t FINGERPRINT = 9;

using Fields = std::vector<std::string>;

long long number_in(const std::string& text) {
  long long number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

Signing_Key key_of(const Fields& fields) {
  Signing_Key key;
  key.algorithm = static_cast<int>(number_in(fields[ALGORITHM]));
  key.bits = static_cast<int>(number_in(fields[BITS]));
  key.revoked = fields[VALIDITY] == "r";
  if (!fields[EXPIRY].empty()) {
    key.expiry = system_clock::from_time_t(number_in(fields[EXPIRY]));
  }
  return key;
}

bool is_key_line(const Fields& fields) {
  return (fields[0] == "pub" || fields[0] == "sub") && fields.size() > CAPABILITIES;
}

bool can_sign(const Fields& fields) {
  return fields[CAPABILITIES].find('s') != std::string::npos;
}

bool holds_quote(const boost::filesystem::path& path) {
  return path.string().find('\'') != std::string::npos;
}

}  // namespace

bool has_gpg(velmora::System& system) {
  return velmora::command_succeeds(system, GPG_PRESENCE);
}

std::vector<Signing_Key> parse_key_listing(const std::string& listing) {
  std::vector<Signing_Key> keys;
  bool wants_fingerprint = false;
  std::istringstream lines(listing);
  for (std::string line; std::getline(lines, line);) {
    Fields fields;
    boost::algorithm::split(fields, line, boost::algorithm::is_any_of(":"));
    if (is_key_line(fields)) {
      wants_fingerprint = can_sign(fields);
      if (wants_fingerprint) {
        keys.push_back(key_of(fields));
      }
    } else if (fields[0] == "fpr" && wants_fingerprint && fields.size() > FINGERPRINT) {
      keys.back().fingerprint = fields[FINGERPRINT];
      wants_fingerprint = false;
    }
  }
  return keys;
}

std::optional<std::vector<Signing_Key>> read_keyring(velmora::System& system,
                                                     const boost::filesystem::path& keyring) {
  if (holds_quote(keyring) || !has_gpg(system)) {
    return std::nullopt;
  }
  const Temporary_Directory home;
  const std::string command = fmt::format(LIST_KEYS, home.path().string(), keyring.string());
  const auto result = system.run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  if (result.exit_code != 0) {
    return std::nullopt;
  }
  return parse_key_listing(result.output);
}

}  // namespace zant::velmora_host
