#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// What the parts of the outlook share: how tools are asked, and how causes are made.
namespace zant::velmora_host::apt_outlook {

/// What a tool said on both of its outputs, untranslated.
struct Answer {
  std::string words;
  int exit_code = 0;

  bool succeeded() const { return exit_code == 0; }
};

/// Runs a command that changes nothing; it is ended after the limit.
Answer ask(const Outlook_Question& question, const std::string& command,
           std::chrono::seconds limit = std::chrono::seconds(5));

/// A text as one word for the shell.
std::string quoted(const std::string& text);

/// The beginning of a text, for a regular expression: the standard library's take a part of the stack for
/// each character.
std::string searchable(const std::string& words);

/// "COMMAND: its words", with long words cut in the middle.
std::string told(const std::string& command, const std::string& words);

std::vector<std::string> lines_of(const std::string& text);

Cause blocks(std::string code, std::string message, std::string evidence, std::string remedy);
Cause obscures(std::string code, std::string message, std::string evidence, std::string remedy);

/// A tool that does not answer as it should.
Cause tool_failed(const std::string& command, const Answer& answer);

/// A number of seconds since the epoch; nothing when the text is no such number.
std::optional<std::chrono::system_clock::time_point> parse_epoch(const std::string& text);

/// A command that has APT take the package's highest version, whatever repository it comes from.
std::string preferring_package();

/// A command that adds a line to APT's configuration, after all other files.
std::string configuring(const std::string& line);

/// The same for one value.
std::string configuring(const std::string& item, const std::string& value);

/// The same for an origin that upgrades may come from, in the words of a repository; nothing where APT would
/// read anything else in them.
std::optional<std::string> configuring_origin(const std::string& origin);
/// A command that has APT forget a list of its settings.
std::string clearing(const std::string& item);

void append(Causes& causes, Causes more);

}  // namespace zant::velmora_host::apt_outlook
