#include <zant/velmora_host/families/apt/online_refresh.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/planned_configuration.hpp>
#include <zant/velmora_host/families/apt/refresh_state.hpp>
#include <zant/velmora_host/families/apt/source_lists.hpp>
#include <zant/velmora_host/services/command_service.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <Poco/Exception.h>
#include <Poco/URI.h>
#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <regex>
#include <set>
#include <string_view>
#include <tuple>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::path;
using velmora::Package_Constants::PACKAGE_NAME;
namespace APT_Constants = velmora::APT_Constants;

constexpr std::chrono::seconds REFRESH_LIMIT(12);
constexpr std::chrono::seconds DOWNLOAD_LIMIT(5);

constexpr const char* UNPROVEN = "See what stands between this host and the repository's server";
constexpr const char* FAULT = "the repository's server has a fault of its own";
constexpr const char* TELL_VENDOR = "Tell the vendor what the server says, if it lasts";

struct Words_And_Meaning {
  const char* words;
  Cause_Effect effect;
  const char* code;
  const char* message;
  const char* remedy;
};

// The first whose words APT says. What will be the same tomorrow blocks; what may be over by then does not.
constexpr std::array<Words_And_Meaning, 36> MEANINGS = {{
    {"entry in Release file", Cause_Effect::BLOCKS, "repository.index_refused",
     "APT cannot read a field of the repository's index, and does not take it",
     "Ask the vendor to publish the repository's index anew"},
    {"401  Unauthorized", Cause_Effect::BLOCKS, "repository.access_denied",
     "the repository's server does not know this host, or not its password",
     "Put the password for the server into a file of /etc/apt/auth.conf.d, or ask the vendor for one"},
    {"403  Forbidden", Cause_Effect::OBSCURES, "repository.access_denied",
     "the repository's server refuses this host", "Ask the vendor why the server refuses this host"},
    {"  500  ", Cause_Effect::OBSCURES, "server.failing", FAULT, TELL_VENDOR},
    {"  502  ", Cause_Effect::OBSCURES, "server.failing", FAULT, TELL_VENDOR},
    {"  503  ", Cause_Effect::OBSCURES, "server.failing", FAULT, TELL_VENDOR},
    {"  504  ", Cause_Effect::OBSCURES, "server.failing", FAULT, TELL_VENDOR},
    {"changed its ", Cause_Effect::BLOCKS, "repository.changed",
     "the repository says another thing of itself than before, and APT wants that accepted by hand",
     "apt-get --allow-releaseinfo-change update"},
    {"is expired (invalid since", Cause_Effect::BLOCKS, "repository.expired",
     "the repository's index has expired", "Ask the vendor to publish the repository's index anew"},
    {"is not valid yet", Cause_Effect::BLOCKS, "repository.from_future",
     "the repository's index is dated in the future",
     "Set the host's clock right, or ask the vendor to mend the date"},
    {"NO_PUBKEY", Cause_Effect::BLOCKS, "repository.signature_refused",
     "the repository is signed with a key that this host does not have",
     "Ask the vendor which key signs the repository, and for that key"},
    {"Missing key", Cause_Effect::BLOCKS, "repository.signature_refused",
     "the repository is signed with a key that this host does not have",
     "Ask the vendor which key signs the repository, and for that key"},
    {"EXPKEYSIG", Cause_Effect::BLOCKS, "repository.signature_refused",
     "the key that signs the repository has expired", "Ask the vendor for the new key"},
    {"signatures were invalid", Cause_Effect::BLOCKS, "repository.signature_refused",
     "the repository's signature is not valid", "Ask the vendor to sign the repository anew"},
    {"signatures couldn't be verified", Cause_Effect::BLOCKS, "repository.signature_refused",
     "the repository's signature cannot be verified",
     "Ask the vendor which key signs the repository, and for that key"},
    {"OpenPGP signature verification failed", Cause_Effect::BLOCKS, "repository.signature_refused",
     "the repository's signature cannot be verified",
     "Ask the vendor which key signs the repository, and for that key"},
    {"GPG error", Cause_Effect::BLOCKS, "repository.signature_refused",
     "the repository's signature cannot be verified",
     "Ask the vendor which key signs the repository, and for that key"},
    {"isn't valid, got 'NOSPLIT'", Cause_Effect::OBSCURES, "repository.not_an_index",
     "something else than the repository's index comes from its address", UNPROVEN},
    {"doesn't have the component", Cause_Effect::BLOCKS, "repository.component_missing",
     "the repository has no such component",
     "Ask the vendor for the component that the repository's source list names"},
    {"doesn't support architecture", Cause_Effect::BLOCKS, "repository.architecture_missing",
     "the repository has nothing for this architecture", "Ask the vendor for packages for this architecture"},
    {"Could not resolve", Cause_Effect::OBSCURES, "server.name_unknown",
     "the name of the repository's server has no address", "Put the host's name resolution right"},
    {"Temporary failure resolving", Cause_Effect::OBSCURES, "server.name_unknown",
     "the name of the repository's server has no address", "Put the host's name resolution right"},
    {"Could not wait for server fd", Cause_Effect::OBSCURES, "server.unreachable",
     "the repository's server does not answer", UNPROVEN},
    {"ertificate", Cause_Effect::BLOCKS, "server.certificate_refused",
     "the certificate of the repository's server is not accepted",
     "Have the vendor mend the server's certificate, or this host know who signed it"},
    {"handshake", Cause_Effect::OBSCURES, "server.tls_failed",
     "no secure connection to the server comes about", UNPROVEN},
    {"Proxy", Cause_Effect::OBSCURES, "proxy.unreachable", "the proxy does not let APT through",
     "Put the proxy right, or APT's settings for it"},
    {"Could not connect", Cause_Effect::OBSCURES, "server.unreachable",
     "the repository's server cannot be reached", UNPROVEN},
    {"Cannot initiate the connection", Cause_Effect::OBSCURES, "server.unreachable",
     "the repository's server cannot be reached", UNPROVEN},
    {"onnection timed out", Cause_Effect::OBSCURES, "server.unreachable",
     "the repository's server does not answer", UNPROVEN},
    {"onnection refused", Cause_Effect::OBSCURES, "server.unreachable",
     "the repository's server cannot be reached", UNPROVEN},
    {"does not have a Release file", Cause_Effect::BLOCKS, "repository.suite_missing",
     "the repository is not at its address, or has no such suite",
     "Ask the vendor where the repository is now"},
    {"no longer has a Release file", Cause_Effect::BLOCKS, "repository.suite_missing",
     "the repository is not at its address any more, or has no such suite",
     "Ask the vendor where the repository is now"},
    {"is no longer signed", Cause_Effect::BLOCKS, "repository.not_signed",
     "the repository is not signed any more", "Ask the vendor to sign the repository"},
    {"is not signed", Cause_Effect::BLOCKS, "repository.not_signed", "the repository is not signed",
     "Ask the vendor to sign the repository"},
    {"Hash Sum mismatch", Cause_Effect::OBSCURES, "repository.inconsistent",
     "the repository's files do not fit together", "Ask the vendor to publish the repository anew"},
    {"unexpected size", Cause_Effect::OBSCURES, "repository.inconsistent",
     "the repository's files do not fit together", "Ask the vendor to publish the repository anew"},
}};

// The settings that may name a proxy, and their values.
std::optional<Cause> find_dead_proxy(const APT_Settings& settings, const std::string& words,
                                     const std::string& evidence) {
  for (const char* const item : {"Acquire::http::Proxy", "Acquire::https::Proxy"}) {
    const auto value = settings.value(item);
    if (!value || value->empty()) {
      continue;
    }
    std::string host;
    try {
      host = Poco::URI(*value).getHost();
    } catch (const Poco::Exception&) {
      host = *value;
    }
    if (!host.empty() && words.find(host) != std::string::npos) {
      return obscures("proxy.unreachable", fmt::format("the proxy {} cannot be used", *value),
                      settings.evidence(item, *value) + "\n" + evidence,
                      settings.without(settings.place_of(item, *value), "Put the proxy right"));
    }
  }
  return std::nullopt;
}

// A changed origin is none that upgrades may come from, even once APT has accepted it.
std::string remedy_for_change(const std::string& words) {
  static const std::regex CHANGE("'Origin' value from '[^']*' to '([^']*)'");
  std::string accept = "apt-get --allow-releaseinfo-change update";
  std::smatch match;
  if (words.find("changed its default priority") != std::string::npos) {
    return accept + " && " + preferring_package();
  }
  const auto change = words.find("'Origin' value from");
  const std::string told_change = change == std::string::npos ? "" : searchable(words.substr(change));
  if (!std::regex_search(told_change, match, CHANGE)) {
    return accept;
  }
  const auto allow = configuring_origin("o=" + match[1].str());
  return allow ? accept + " && " + *allow : accept;
}

std::string remedy_for(const Words_And_Meaning& meaning, const Outlook_Question& question,
                       const std::string& words) {
  const std::string code = meaning.code;
  if (code == "repository.changed") {
    return remedy_for_change(words);
  }
  if (code == "repository.signature_refused") {
    return remedy_for_signature(question);
  }
  return meaning.remedy;
}

// APT passes over keyrings that its own user cannot read, with a warning.
bool is_keyring_unreadable(const std::string& words) {
  const std::string keyring = APT_Constants::REPO_KEYRING_PATH;
  return words.find(fmt::format("keyring {} are ignored as the file is not readable", keyring)) !=
         std::string::npos;
}

Cause meaning_of(const Outlook_Question& question, const Answer& answer, const APT_Settings& settings) {
  const std::string evidence = told("apt-get update, of the repository alone", answer.words);
  if (is_keyring_unreadable(answer.words)) {
    return blocks("keyring.unreadable", "APT's own user may not read the keyring of the repository", evidence,
                  fmt::format("chmod 0755 {} && chmod 0644 {}",
                              path(APT_Constants::REPO_KEYRING_PATH).parent_path().string(),
                              APT_Constants::REPO_KEYRING_PATH));
  }
  if (auto proxy = find_dead_proxy(settings, answer.words, evidence)) {
    return *proxy;
  }
  if (answer.exit_code == Exit_Code::TIME_LIMIT) {
    return obscures("server.silent", "the repository did not answer in time", evidence, UNPROVEN);
  }
  for (const auto& meaning : MEANINGS) {
    if (answer.words.find(meaning.words) != std::string::npos) {
      return {meaning.effect, meaning.code, meaning.message, evidence,
              remedy_for(meaning, question, answer.words)};
    }
  }
  return obscures("repository.refresh_failed", "the repository does not answer as it should", evidence,
                  "Run \"apt-get update\" and see what it says");
}

// APT's methods ask as its own user, who must be able to read what the host's refreshes read, and here the
// lists. A copy of what APT knows of the repository, for APT may date the files anew; links to what it knows
// of others.
bool prepare_lists(const Outlook_Question& question, const path& lists, const std::string& site) {
  const std::string line = fmt::format(
      "chmod 0711 {2} && mkdir -p {0}/partial && chmod 0755 {0} && for file in /var/lib/apt/lists/*; do [ -e "
      "\"$file\" ] || continue; case "
      "\"$file\" in */partial|*/auxfiles|*/lock) ;; "
      "*/{1}*) cp -p \"$file\" {0}/ ;; *) ln -s \"$file\" {0}/ ;; esac; done",
      quoted(lists.string()), site, quoted(question.private_directory.string()));
  return ask(question, fmt::format("sh -c {}", quoted(line))).succeeded();
}

std::string site_in(const std::string& list) {
  const auto begin = list.find("://");
  if (begin == std::string::npos) {
    return "";
  }
  const auto end = list.find_first_of("/: \t\n", begin + 3);
  const std::string site = list.substr(begin + 3, end - begin - 3);
  const bool is_plain =
      site.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-") ==
      std::string::npos;
  return is_plain ? site : "";
}

std::vector<Other_Entry> other_entries_of(const Outlook_Question& question) {
  const auto& [settings, services] = std::tie(question.settings, question.services);
  const velmora::APT_Repo_Config repo(services.system, settings.configuration(), settings.staging_directory(),
                                      question.init);
  return find_other_entries(*services.filesystem, repo.source_list.url, repo.source_list.channel);
}

// What the host's own refreshes read of this repository. With entries of other lists APT makes one of them
// all, in the order of their files.
std::string sources_of(const Outlook_Question& question, const path& source,
                       const std::vector<Other_Entry>& others) {
  if (others.empty()) {
    return fmt::format("-o Dir::Etc::sourcelist={} -o Dir::Etc::sourceparts=/dev/null",
                       quoted(source.string()));
  }
  auto& filesystem = *question.services.filesystem;
  const path directory = question.private_directory / "sources";
  std::map<path, std::string> files = {{directory / path(APT_Constants::SOURCE_LIST_PATH).filename(),
                                        filesystem.read_file(source, velmora::Read_Flag::WHOLE_TEXT)}};
  for (const auto& entry : others) {
    const bool is_first = entry.file == "/etc/apt/sources.list";
    files[directory / (is_first ? path("0.list") : entry.file.filename())] += entry.text + "\n";
  }
  filesystem.create_directories(directory);
  for (const auto& [file, text] : files) {
    filesystem.write_file(file, text, velmora::Write_Flag::REPLACE);
  }
  return fmt::format("-o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts={}/",
                     quoted(directory.string()));
}

// APT checks the repository with the key of another list then.
std::optional<Cause> find_another_key(const std::vector<Other_Entry>& others, const Cause& cause) {
  static const std::set<std::string> of_signature = {"repository.signature_refused", "repository.not_signed",
                                                     "repository.refresh_failed"};
  const auto entry = std::find_if(others.begin(), others.end(),
                                  [](const Other_Entry& other) { return other.has_key_of_its_own; });
  if (entry == others.end() || !of_signature.contains(cause.code)) {
    return std::nullopt;
  }
  return blocks(
      "repository.listed_with_another_key",
      fmt::format("{} lists the repository too, with a key of its own (signed-by), and APT does not "
                  "accept the repository's signature",
                  entry->file.string()),
      fmt::format("{}: {}\n{}", entry->file.string(), boost::algorithm::trim_copy(entry->text),
                  cause.evidence),
      fmt::format("Remove the repository from {}: package-minder registers it", entry->file.string()));
}

}  // namespace

Online_Refresh refresh_online(const Outlook_Question& question, const path& configuration,
                              const APT_Settings& settings) {
  const path lists = question.private_directory / "lists";
  const path source = planned_place_of(question, APT_Constants::SOURCE_LIST_PATH);
  const std::string site =
      site_in(question.services.filesystem->read_file(source, velmora::Read_Flag::WHOLE_TEXT));
  if (site.empty() || !prepare_lists(question, lists, site)) {
    return {};
  }
  const auto others = other_entries_of(question);
  const auto answer =
      ask(question,
          fmt::format(
              "{}apt-get -c {} -o Dir::State::lists={}/ {} -o APT::Get::List-Cleanup=false -o "
              "APT::Update::Error-Mode=any -o Acquire::Languages=none "
              "-o Acquire::Retries=0 -o Acquire::http::Timeout=8 -o Acquire::https::Timeout=8 --quiet update",
              with_planned_configuration(question), quoted(configuration.string()), quoted(lists.string()),
              sources_of(question, source, others)),
          REFRESH_LIMIT);
  // These are warnings to APT, which then goes on with what it knew before.
  const bool lacks = answer.words.find("Skipping acquire of configured file") != std::string::npos ||
                     answer.words.find("entry in Release file") != std::string::npos;
  if (answer.succeeded() && !lacks) {
    return {lists, {}};
  }
  const auto cause = meaning_of(question, answer, settings);
  return {std::nullopt, {find_another_key(others, cause).value_or(cause)}};
}

Causes find_missing_package(const Outlook_Question& question, const path& configuration,
                            const std::string& version, const path& archives) {
  const auto answer = ask(
      question,
      fmt::format("sh -c {}",
                  quoted(fmt::format("mkdir -p {0} && cd {0} && exec {3}apt-get -c {1} --quiet download {2}",
                                     quoted(archives.string()), quoted(configuration.string()),
                                     quoted(fmt::format("{}={}", PACKAGE_NAME, version)),
                                     with_planned_configuration(question)))),
      DOWNLOAD_LIMIT);
  if (answer.succeeded() || answer.exit_code == Exit_Code::TIME_LIMIT) {
    return {};
  }
  const std::string evidence =
      told(fmt::format("apt-get download {}={}", PACKAGE_NAME, version), answer.words);
  if (answer.words.find("  404  ") != std::string::npos ||
      answer.words.find("File not found") != std::string::npos) {
    return {blocks("package.not_on_server",
                   fmt::format("the file of version {} is not on the server", version), evidence,
                   "Ask the vendor to publish the file, or the repository's index anew")};
  }
  if (answer.words.find("Hash Sum mismatch") != std::string::npos ||
      answer.words.find("unexpected size") != std::string::npos) {
    return {blocks(
        "package.hash_mismatch",
        fmt::format("the file of version {} on the server is not the one that the index names", version),
        evidence, "Ask the vendor to publish the file, or the repository's index anew")};
  }
  return {obscures("package.not_fetched", fmt::format("the file of version {} cannot be fetched", version),
                   evidence, "Run the command by hand and see what it says")};
}

}  // namespace zant::velmora_host::apt_outlook
