#include <zant/velmora_host/services/posix/command_environment.hpp>

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace zant::velmora_host {
namespace {

// Built from scratch instead of inherited: a preloaded library, a translated locale, shell options or a
// function exported by the calling process would change what the commands do and print.
const std::map<std::string, std::string> FIXED_VARIABLES = {
    {"PATH", "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"},
    {"LANG", "C.UTF-8"},
    {"LC_ALL", "C.UTF-8"},
};

// How the host reaches its repositories is the administrator's to say.
constexpr std::array INHERITED_VARIABLES = {"TZ",        "http_proxy", "https_proxy", "ftp_proxy",
                                            "all_proxy", "no_proxy",   "HTTP_PROXY",  "HTTPS_PROXY",
                                            "FTP_PROXY", "ALL_PROXY",  "NO_PROXY"};

std::string home_directory() {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  const int error_number = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
  return error_number == 0 && found != nullptr ? entry.pw_dir : "/";
}

}  // namespace

std::vector<std::string> make_command_environment(const std::map<std::string, std::string>& additional) {
  std::map<std::string, std::string> variables = additional;
  variables.insert(FIXED_VARIABLES.begin(), FIXED_VARIABLES.end());
  variables.emplace("HOME", home_directory());
  for (const char* name : INHERITED_VARIABLES) {
    if (const char* value = std::getenv(name)) {
      variables.emplace(name, value);
    }
  }

  std::vector<std::string> environment;
  for (const auto& [name, value] : variables) {
    environment.push_back(name + "=" + value);
  }
  return environment;
}

}  // namespace zant::velmora_host
