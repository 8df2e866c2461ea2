// A message of the log, which repeats what commands printed and what files hold: it is one record of the
// journal, its further lines are indented on a terminal, and it does that no harm.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_outlook.hpp>
#include <program/log/log_format.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/printable.hpp>

#include <nlohmann/json.hpp>

#include <string>

using namespace zant::velmora_host;

namespace {

void try_formats(const std::string& input) {
  const zant::program::Log_Entry entry{std::chrono::system_clock::from_time_t(1795348800),
                                       zant::logging::severity_level::warning, "Channel", input};
  const std::string record = zant::program::format_for_journal(entry);
  require(record.starts_with("<4>Channel: ") && record.find('\n') == record.size() - 1);
  require_harmless(record);
  const std::string lines = zant::program::format_for_terminal(entry, false);
  require_harmless(lines);
  for (std::size_t end = lines.find('\n'); end != lines.size() - 1; end = lines.find('\n', end + 1)) {
    require(lines.compare(end, 5, "\n    ") == 0);
  }
}

void try_pieces(const std::string& input) {
  require(is_plain_text(printable(input)));
  require(printable_report(printable_report(input)) == printable_report(input));
  for (const std::size_t size : {0, 1, 7, 200}) {
    require(whole_beginning(input, size).size() <= size);
    require(input.starts_with(whole_beginning(input, size)) && input.ends_with(whole_end(input)));
  }
  if (is_plain_text(input)) {
    require(printable_lines(input, " | ") == printable_report(input));
    require(is_plain_text(whole_beginning(input, input.size() / 2)));
    require(is_plain_text(whole_end(input.substr(input.size() / 2))));
  }
}

void try_document(const std::string& input) {
  auto document = json_document::make("fuzzed");
  document["text"] = input;
  const std::string text = json_document::text_of(document);
  require_harmless(text);
  const auto read = nlohmann::json::parse(text).at("text").get<std::string>();
  require(read == input || !is_plain_text(input));
}

}  // namespace

void try_input(const std::string& input) {
  try_formats(input);
  try_pieces(input);
  try_document(input);
}
