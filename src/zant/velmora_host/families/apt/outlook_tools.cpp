#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/services/command_service.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

namespace zant::velmora_host::apt_outlook {
namespace {

constexpr std::size_t LONGEST_WORDS = 1500;

std::string without_middle(const std::string& words) {
  if (words.size() <= LONGEST_WORDS) {
    return words;
  }
  return words.substr(0, LONGEST_WORDS / 2) + " [...] " + words.substr(words.size() - LONGEST_WORDS / 2);
}

}  // namespace

Answer ask(const Outlook_Question& question, const std::string& command, std::chrono::seconds limit) {
  const auto result = question.services.system->run_command(
      fmt::format("LC_ALL=C timeout --kill-after=1 {} {} 2>&1", limit.count(), command),
      velmora::Run_Flag::WAIT_AND_CAPTURE);
  return {result.output, result.exit_code};
}

std::string quoted(const std::string& text) {
  return "'" + boost::algorithm::replace_all_copy(text, "'", "'\\''") + "'";
}

std::string searchable(const std::string& words) {
  return std::string(whole_beginning(words, LONGEST_WORDS));
}

std::string told(const std::string& command, const std::string& words) {
  const std::string trimmed = boost::algorithm::trim_copy(words);
  return fmt::format("{}: {}", command, trimmed.empty() ? "no words" : without_middle(trimmed));
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

Cause blocks(std::string code, std::string message, std::string evidence, std::string remedy) {
  return {Cause_Effect::BLOCKS, std::move(code), std::move(message), std::move(evidence), std::move(remedy)};
}

Cause obscures(std::string code, std::string message, std::string evidence, std::string remedy) {
  return {Cause_Effect::OBSCURES, std::move(code), std::move(message), std::move(evidence),
          std::move(remedy)};
}

Cause tool_failed(const std::string& command, const Answer& answer) {
  if (answer.exit_code == Exit_Code::TIME_LIMIT) {
    return obscures("tools.time_limit", "a command that should tell about the upgrades did not end in time",
                    told(command, answer.words), "Run the command by hand and see what it waits for");
  }
  return obscures(
      "tools.failed",
      fmt::format("a command that should tell about the upgrades failed with exit code {}", answer.exit_code),
      told(command, answer.words), "Run the command by hand and put right what it complains of");
}

std::optional<std::chrono::system_clock::time_point> parse_epoch(const std::string& text) {
  const std::string number = boost::algorithm::trim_copy(text);
  const auto is_digit = [](unsigned char c) { return c >= '0' && c <= '9'; };
  if (number.empty() || number.size() > 12 || !std::all_of(number.begin(), number.end(), is_digit)) {
    return std::nullopt;
  }
  return time_since_epoch(std::stoll(number));
}

std::string preferring_package() {
  return fmt::format(
      "printf 'Package: {0}\\nPin: version *\\nPin-Priority: 500\\n' > /etc/apt/preferences.d/{0}-upgrade",
      velmora::Package_Constants::PACKAGE_NAME);
}

std::string configuring(const std::string& line) {
  return fmt::format("echo {} > /etc/apt/apt.conf.d/zzz-{}", quoted(line),
                     velmora::Package_Constants::PACKAGE_NAME);
}

std::string configuring(const std::string& item, const std::string& value) {
  return configuring(fmt::format("{} \"{}\";", item, value));
}

std::optional<std::string> configuring_origin(const std::string& origin) {
  if (!is_plain_text(origin) || origin.find('"') != std::string::npos) {
    return std::nullopt;
  }
  return configuring(fmt::format("Unattended-Upgrade::Origins-Pattern {{\"{}\";}};", origin));
}

std::string clearing(const std::string& item) {
  return configuring(fmt::format("#clear {};", item));
}

void append(Causes& causes, Causes more) {
  std::move(more.begin(), more.end(), std::back_inserter(causes));
}

}  // namespace zant::velmora_host::apt_outlook
