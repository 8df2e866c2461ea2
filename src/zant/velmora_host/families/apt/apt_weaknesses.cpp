#include <zant/velmora_host/families/apt/apt_weaknesses.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/apt/apt_configuration.hpp>
#include <zant/velmora_host/families/refresh_age.hpp>
#include <zant/velmora_host/staging/keyring.hpp>

#include <Poco/Exception.h>
#include <Poco/URI.h>
#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <optional>
#include <sstream>

namespace zant::velmora_host {
namespace {

using boost::algorithm::iequals;
using boost::filesystem::path;
using std::chrono::system_clock;

constexpr const char* LISTS = "/var/lib/apt/lists";
// What a refresh would ask for, and under which name it would be kept.
constexpr const char* INDEX_QUERY = "apt-get --print-uris update 2> /dev/null";
// When the file's data or times last changed: APT gives it the server's time of modification, and that again
// whenever the server says that it has nothing newer.
constexpr const char* REFRESH_TIME_QUERY = "stat --format=%Z '{}' 2> /dev/null";

struct Weak_Option {
  const char* name;
  const char* effect;
  const char* code;
};

constexpr const char* UNSIGNED = "repository.unsigned_accepted";
constexpr const char* WEAK = "repository.weak_signature_accepted";
constexpr const char* UNVERIFIED = "repository.server_not_verified";

std::vector<std::string> words_of(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

void judge_option(const path& file, const std::string& option, Findings& findings) {
  static const std::vector<Weak_Option> weak = {
      {"trusted", "packages are installed without a valid signature", UNSIGNED},
      {"allow-insecure", "packages are installed without a valid signature", UNSIGNED},
      {"allow-downgrade-to-insecure", "packages are installed without a valid signature", UNSIGNED},
      {"allow-weak", "signatures with outdated algorithms are accepted", WEAK},
  };
  const std::size_t separator = option.find('=');
  for (const auto& entry : weak) {
    if (separator != std::string::npos && iequals(option.substr(0, separator), entry.name) &&
        is_apt_yes(option.substr(separator + 1))) {
      findings.push_back({file.string(),
                          fmt::format("has the option {}: {}", printable(option), entry.effect),
                          "remove the option; the next cycle writes the file again", entry.code});
    }
  }
}

std::string host_of(const std::string& url) {
  try {
    return Poco::URI(url).getHost();
  } catch (const Poco::Exception&) {
    return "";
  }
}

// For all servers ("Acquire::https::Verify-Peer"), or for one ("Acquire::https::HOST::Verify-Peer").
bool is_about_server(const std::string& item, const std::string& option, const std::string& host) {
  return iequals(item, "Acquire::https::" + option) ||
         (!host.empty() && iequals(item, "Acquire::https::" + host + "::" + option));
}

std::optional<Weak_Option> weakness_of(const APT_Configuration_Item& item, const std::string& host) {
  static const std::vector<Weak_Option> weak = {
      {"APT::Get::AllowUnauthenticated", "apt-get installs packages without a valid signature", UNSIGNED},
      {"Acquire::AllowInsecureRepositories", "repositories without a valid signature are accepted", UNSIGNED},
      {"Acquire::AllowDowngradeToInsecureRepositories", "repositories without a valid signature are accepted",
       UNSIGNED},
      {"Acquire::AllowWeakRepositories", "signatures with outdated algorithms are accepted", WEAK},
  };
  if (is_apt_yes(item.value)) {
    const auto found = std::find_if(weak.begin(), weak.end(),
                                    [&item](const auto& option) { return iequals(item.name, option.name); });
    return found == weak.end() ? std::nullopt : std::optional(*found);
  }
  const bool is_unverified = is_apt_no(item.value) && (is_about_server(item.name, "Verify-Peer", host) ||
                                                       is_about_server(item.name, "Verify-Host", host));
  return is_unverified
             ? std::optional(Weak_Option{"", "anybody on the network can pose as the server", UNVERIFIED})
             : std::nullopt;
}

// "'URL' NAME SIZE"; empty when APT does not ask for that address.
std::string name_of_index(const std::string& listing, const std::string& url) {
  std::istringstream lines(listing);
  const std::string head = "'" + url + "' ";
  for (std::string line; std::getline(lines, line);) {
    if (boost::algorithm::starts_with(line, head)) {
      const auto words = words_of(line.substr(head.size()));
      return words.empty() || words[0].find('\'') != std::string::npos ? "" : words[0];
    }
  }
  return "";
}

std::optional<system_clock::time_point> refresh_time(velmora::System& system, const path& file) {
  const auto answer =
      system.run_command(fmt::format(REFRESH_TIME_QUERY, file.string()), velmora::Run_Flag::WAIT_AND_CAPTURE);
  const std::string text = boost::algorithm::trim_copy(answer.output);
  if (answer.exit_code != 0 || text.empty() || text.size() > 12 ||
      !std::all_of(text.begin(), text.end(), [](unsigned char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  return time_since_epoch(std::stoll(text));
}

std::string describe_signers(const std::vector<std::string>& signers, const std::vector<Signing_Key>& keys) {
  const auto is_known = [&keys](const std::string& signer) {
    return std::any_of(keys.begin(), keys.end(),
                       [&signer](const Signing_Key& key) { return key.fingerprint.ends_with(signer); });
  };
  for (const auto& signer : signers) {
    if (is_known(signer)) {
      return fmt::format(
          "it names the key {}, which the keyring has: the signature is not valid, the key has "
          "expired or is revoked, or the index is out of date",
          signer);
    }
  }
  return signers.empty()
             ? "it has no signature that can be read"
             : fmt::format("it names the key {}, which the keyring does not have", signers.front());
}

// APT keeps what it did not accept beside its lists, until it accepts something.
std::optional<Finding> find_refused_index(velmora::Filesystem& filesystem, const path& file,
                                          const path& keyring) {
  if (!filesystem.exists(file)) {
    return std::nullopt;
  }
  const std::string index = filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  if (index.find("-----END PGP SIGNATURE-----") == std::string::npos) {
    return std::nullopt;  // a download that was cut short
  }
  const auto keys = read_keyring(filesystem, keyring).value_or(std::vector<Signing_Key>{});
  return Finding{
      file.string(),
      "APT did not accept the repository's index when it last asked for it, and goes on with the old "
      "one: " +
          describe_signers(signers_of(index), keys),
      "ask the vendor which key signs the repository; \"apt-get update\" shows APT's own words",
      "repository.signature_refused"};
}

}  // namespace

Findings find_weak_list_options(const path& file, const std::string& list) {
  Findings findings;
  std::istringstream lines(list);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t begin = line.find('[');
    const std::size_t end = line.find(']');
    const bool is_entry = boost::algorithm::starts_with(boost::algorithm::trim_left_copy(line), "deb");
    if (!is_entry || begin == std::string::npos || end == std::string::npos || end < begin) {
      continue;
    }
    for (const auto& option : words_of(line.substr(begin + 1, end - begin - 1))) {
      judge_option(file, option, findings);
    }
  }
  return findings;
}

Findings find_weak_apt_configuration(const std::string& dump, const std::string& url) {
  Findings findings;
  const std::string host = host_of(url);
  for (const auto& item : parse_apt_configuration(dump)) {
    if (const auto weakness = weakness_of(item, host)) {
      findings.push_back(
          {"APT's configuration",
           fmt::format("{} is \"{}\": {}", printable(item.name), printable(item.value), weakness->effect),
           "remove it from /etc/apt/apt.conf and the files in /etc/apt/apt.conf.d", weakness->code});
    }
  }
  return findings;
}

Findings find_apt_refresh_faults(const Host_Services& services, const std::string& url,
                                 const std::string& suite, const path& keyring,
                                 system_clock::time_point now) {
  const std::string index =
      fmt::format("{}/dists/{}/InRelease",
                  boost::algorithm::trim_right_copy_if(url, [](char c) { return c == '/'; }), suite);
  const auto listing = services.system->run_command(INDEX_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE);
  const std::string name = name_of_index(listing.output, index);
  if (name.empty()) {
    return {};
  }
  Findings findings;
  if (const auto refused =
          find_refused_index(*services.filesystem, path(LISTS) / "partial" / name, keyring)) {
    findings.push_back(*refused);
  }
  const path file = path(LISTS) / name;
  if (const auto refreshed = refresh_time(*services.system, file)) {
    const auto old =
        find_old_refresh(file.string(), *refreshed, now,
                         "run \"apt-get update\" and see what it says; apt-daily.timer must be enabled");
    if (old) {
      findings.push_back(*old);
    }
  }
  return findings;
}

}  // namespace zant::velmora_host
