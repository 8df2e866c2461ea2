// The program's command line, a line of the input for each word: it names a command of the table, or is
// refused in words that do a terminal no harm, and in a document for who asked for one.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_outlook.hpp>
#include <program/command_line.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>
#include <vector>

using namespace zant::program;

namespace {

constexpr int DONE = 0;
constexpr int WRONG_USAGE = 64;

std::vector<std::string> words_of(const std::string& input) {
  std::vector<std::string> words = {"package-minder"};
  std::istringstream lines(input);
  for (std::string line; std::getline(lines, line);) {
    words.push_back(line.substr(0, line.find('\0')));
  }
  return words;
}

}  // namespace

void try_input(const std::string& input) {
  const auto words = words_of(input);
  std::vector<const char*> arguments;
  std::transform(words.begin(), words.end(), std::back_inserter(arguments),
                 [](const std::string& word) { return word.c_str(); });
  std::ostringstream out;
  std::ostringstream err;
  const auto parsed = parse_command_line(static_cast<int>(arguments.size()), arguments.data(), out, err);

  zant::velmora_host::require_harmless(out.str());
  zant::velmora_host::require_harmless(err.str());
  if (parsed.command_line) {
    require(parsed.exit_status == DONE && out.str().empty() && err.str().empty());
    require(parsed.command_line->command->subcommands.empty());
    is_report(*parsed.command_line);
    return;
  }
  require(parsed.exit_status == DONE || parsed.exit_status == WRONG_USAGE);
  require(err.str().empty() == (parsed.exit_status == DONE));
  if (parsed.exit_status == WRONG_USAGE && !out.str().empty()) {
    require(nlohmann::json::parse(out.str()).at("error").at("exit_status") == WRONG_USAGE);
  }
}
