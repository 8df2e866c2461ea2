#include <zant/velmora_host/families/dnf/repository_answer.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace zant::velmora_host::dnf_outlook {
namespace {

struct Meaning {
  const char* words;
  Cause_Effect effect;
  const char* code;
  const char* message;
  const char* remedy;
};

constexpr auto BLOCKS = Cause_Effect::BLOCKS;
constexpr auto OBSCURES = Cause_Effect::OBSCURES;

constexpr const char* ASK_ADMINISTRATOR_OF_PROXY =
    "Correct the proxy in DNF's configuration, or have it repaired";
constexpr const char* MEND_NAME = "Correct the name servers of this host, or the repository's address";
constexpr const char* MEND_ROAD = "Let this host's network and firewalls reach the repository's server";
constexpr const char* MEND_TLS =
    "Correct the certificate of the server, or the authorities that this host trusts";
constexpr const char* ASK_VENDOR = "Ask the vendor to correct the repository";
constexpr const char* MEND_ADDRESS = "Correct the repository's address in the settings of package-minder";

// The first that fits. The numbers are libcurl's, whose words are the same in every language.
constexpr std::array<Meaning, 26> MEANINGS = {{
    {"GPG signature", BLOCKS, "repository.signature_refused",
     "The signature of the repository's index is refused, or there is none", ASK_VENDOR},
    {"Curl error (5)", OBSCURES, "proxy.unreachable", "The name of the proxy is not known",
     ASK_ADMINISTRATOR_OF_PROXY},
    {"Curl error (97)", OBSCURES, "proxy.unreachable", "The proxy refuses the connection",
     ASK_ADMINISTRATOR_OF_PROXY},
    {"from proxy", OBSCURES, "proxy.unreachable", "The proxy refuses the connection",
     ASK_ADMINISTRATOR_OF_PROXY},
    {"CONNECT tunnel failed", OBSCURES, "proxy.unreachable", "The proxy refuses the connection",
     ASK_ADMINISTRATOR_OF_PROXY},
    {"Status code: 407", OBSCURES, "proxy.unreachable", "The proxy wants to know who asks",
     ASK_ADMINISTRATOR_OF_PROXY},
    {"Curl error (6)", OBSCURES, "server.name_unknown", "The name of the repository's server is not known",
     MEND_NAME},
    {"Curl error (7)", OBSCURES, "server.unreachable", "The repository's server cannot be reached",
     MEND_ROAD},
    {"Curl error (28)", OBSCURES, "server.silent", "The repository's server does not answer in time",
     MEND_ROAD},
    {"Curl error (35)", BLOCKS, "server.tls_failed", "No protected connection to the server can be made",
     MEND_TLS},
    {"Curl error (51)", BLOCKS, "server.certificate_refused", "The certificate of the server is refused",
     MEND_TLS},
    {"Curl error (58)", BLOCKS, "server.tls_failed", "The certificate of this host cannot be used", MEND_TLS},
    {"Curl error (60)", BLOCKS, "server.certificate_refused", "The certificate of the server is refused",
     MEND_TLS},
    {"Curl error (77)", BLOCKS, "server.certificate_refused",
     "The authorities that certificates are checked with cannot be read", MEND_TLS},
    {"Curl error (83)", BLOCKS, "server.certificate_refused", "The certificate of the server is refused",
     MEND_TLS},
    {"Curl error (52)", OBSCURES, "server.unreachable", "The repository's server breaks the connection",
     MEND_ROAD},
    {"Curl error (56)", OBSCURES, "server.unreachable", "The repository's server breaks the connection",
     MEND_ROAD},
    {"Status code: 401", BLOCKS, "repository.access_denied",
     "The server lets this host in with a password only", MEND_ADDRESS},
    {"Status code: 403", BLOCKS, "repository.access_denied", "The server refuses this host", MEND_ADDRESS},
    {"Status code: 404", BLOCKS, "repository.not_found", "The server has no repository at this address",
     MEND_ADDRESS},
    {"Status code: 5", OBSCURES, "server.failing", "The repository's server has a fault of its own",
     ASK_VENDOR},
    {"Status code: ", BLOCKS, "repository.not_found", "The server does not give out the repository",
     MEND_ADDRESS},
    {"hecksum", BLOCKS, "repository.inconsistent", "What the server gives out does not fit its own index",
     ASK_VENDOR},
    {"repomd.xml parser error", BLOCKS, "repository.inconsistent",
     "The index of the repository cannot be read", ASK_VENDOR},
    {"arse error", BLOCKS, "repository.inconsistent", "The index of the repository cannot be read",
     ASK_VENDOR},
    {"Curl error", OBSCURES, "server.unreachable", "The repository cannot be reached", MEND_ROAD},
}};

bool holds(const std::string& words, const Meaning& meaning) {
  return words.find(meaning.words) != std::string::npos;
}

}  // namespace

Cause cause_of_answer(const std::string& words, const std::string& address) {
  const std::string evidence = fmt::format("{}: {}", address, words);
  const auto* const found = std::find_if(MEANINGS.begin(), MEANINGS.end(),
                                         [&words](const Meaning& meaning) { return holds(words, meaning); });
  if (found == MEANINGS.end()) {
    return {OBSCURES, "server.unreachable", "The repository cannot be reached", evidence, MEND_ROAD};
  }
  return {found->effect, found->code, found->message, evidence, found->remedy};
}

bool speaks_of_network(const std::string& words) {
  static const std::array<const char*, 4> of_network = {"Failed to download metadata", "Curl error",
                                                        "Error downloading packages", "System is off-line"};
  return std::any_of(of_network.begin(), of_network.end(),
                     [&words](const char* text) { return words.find(text) != std::string::npos; });
}

}  // namespace zant::velmora_host::dnf_outlook
