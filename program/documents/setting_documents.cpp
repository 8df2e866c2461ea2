#include <program/documents/setting_documents.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>

#include <array>
#include <sstream>
#include <string_view>
#include <vector>

namespace zant::program::setting_documents {
namespace {

using velmora_host::Setting;
using velmora_host::Setting_Group;
using velmora_host::Setting_System;
using velmora_host::Setting_Table;

constexpr std::size_t COLUMNS = 118;

struct Group_Name {
  Setting_Group group;
  const char* name;
  const char* title;
};

constexpr std::array<Group_Name, 4> GROUPS = {{{Setting_Group::PROGRAM, "program", "The program"},
                                               {Setting_Group::APT, "apt", "APT hosts (Debian, Ubuntu)"},
                                               {Setting_Group::DNF, "dnf", "DNF hosts (RHEL family)"},
                                               {Setting_Group::CHOCOLATEY, "choco", "Windows hosts"}}};

std::vector<Setting> settings_of(const Setting_Table& table, Setting_Group group) {
  std::vector<Setting> settings;
  for (const auto& setting : table.settings()) {
    if (setting.group == group) {
      settings.push_back(setting);
    }
  }
  return settings;
}

std::string wrap(const std::string& text, const std::string& first_indent, const std::string& indent) {
  std::istringstream words(text);
  std::string result;
  std::string line = first_indent;
  bool is_empty = true;
  for (std::string word; words >> word;) {
    if (!is_empty && line.size() + 1 + word.size() > COLUMNS) {
      result += line + "\n";
      line = indent;
      is_empty = true;
    }
    line += is_empty ? word : " " + word;
    is_empty = false;
  }
  return result + line + "\n";
}

// --- In plain text -----------------------------------------------------------

std::string plain(const std::string& markdown) {
  return boost::algorithm::replace_all_copy(markdown, "`", "");
}

std::string with_unit(const Setting& setting, const std::string& text) {
  return setting.unit.empty() ? text : text + ", in " + setting.unit;
}

// The values of several systems and hosts in one text, each as `code`.
std::string default_of(const Setting& setting) {
  std::vector<std::string> parts;
  if (!setting.default_without_systemd.empty()) {
    parts.push_back(fmt::format("`{}` with systemd, `{}` without", setting.default_value,
                                setting.default_without_systemd));
  } else if (!setting.default_value.empty()) {
    parts.push_back("`" + setting.default_value + "`");
  }
  if (!setting.default_note.empty()) {
    parts.push_back(setting.default_note);
  }
  return boost::algorithm::join(parts, "; ");
}

std::string comment(const Setting& setting) {
  std::string facts = "Type: " + with_unit(setting, setting.rule.type) + ".";
  if (setting.is_unset_when_empty()) {
    facts += " Default, also when empty: " + default_of(setting) + ".";
  }
  return wrap(plain(setting.meaning), "# ", "# ") + wrap(plain(facts), "# ", "# ");
}

// --- In Markdown -------------------------------------------------------------

// Escapes what Markdown would interpret, outside of code.
std::string escaped(const std::string& text) {
  std::string result;
  bool is_code = false;
  for (const char character : text) {
    is_code = is_code != (character == '`');
    if (!is_code && std::string_view("_*~$^[]<>|\\").find(character) != std::string_view::npos) {
      result += '\\';
    }
    result += character;
  }
  return result;
}

// Those of the families say it by their group.
std::string system_of(const Setting& setting) {
  if (setting.group != Setting_Group::PROGRAM || setting.system == Setting_System::ANY) {
    return "";
  }
  return setting.system == Setting_System::POSIX ? "Linux only. " : "Windows only. ";
}

std::string meaning_of(const Setting& setting) {
  return system_of(setting) + setting.meaning + (setting.detail.empty() ? "" : " " + setting.detail);
}

std::string markdown_table(const std::vector<Setting>& settings) {
  std::string text = "| Key | Type | Unit | Default | Meaning |\n|---|---|---|---|---|\n";
  for (const auto& setting : settings) {
    text += fmt::format("| `{}` | {} | {} | {} | {} |\n", setting.key, escaped(setting.rule.type),
                        escaped(setting.unit), escaped(default_of(setting)), escaped(meaning_of(setting)));
  }
  return text;
}

std::string markdown_list(const std::vector<Setting>& settings) {
  std::string text;
  for (const auto& setting : settings) {
    const std::string facts =
        fmt::format("Type: {}. Default: {}.", with_unit(setting, setting.rule.type), default_of(setting));
    text += fmt::format("\n**{}**\n", escaped(setting.key));
    text += wrap(escaped(meaning_of(setting)), ":   ", "    ") + "\n";
    text += wrap(escaped(facts), "    ", "    ");
  }
  return text + "\n";
}

// --- For bash ----------------------------------------------------------------

std::string completion(const Setting_Table& table) {
  std::string keys;
  std::string values;
  for (const auto& setting : table.settings()) {
    if (!table.applies(setting)) {
      continue;
    }
    keys += "    " + setting.key + "\n";
    if (!setting.rule.choices.empty()) {
      values += fmt::format("        {}) echo \"{}\" ;;\n", setting.key,
                            boost::algorithm::join(setting.rule.choices, " "));
    }
  }
  return "_package_minder_settings=\"\n" + keys +
         "\"\n\n"
         "_package_minder_values_of() {\n"
         "    case $1 in\n" +
         values +
         "    esac\n"
         "}\n";
}

// --- Documents with generated parts ------------------------------------------

constexpr std::string_view BEGIN = "generated: settings ";
constexpr std::string_view END = "end of generated";

std::string part(const std::string& name, const Setting_Table& table) {
  if (name == "completion") {
    return completion(table);
  }
  for (const auto& group : GROUPS) {
    if (name == std::string("table ") + group.name) {
      return markdown_table(settings_of(table, group.group));
    }
    if (name == std::string("list ") + group.name) {
      return markdown_list(settings_of(table, group.group));
    }
  }
  throw std::invalid_argument("there is no generated part \"" + name + "\"");
}

// The name of the part that a line begins; empty for other lines.
std::string part_begun_by(const std::string& line) {
  const std::size_t begin = line.find(BEGIN);
  if (begin == std::string::npos) {
    return "";
  }
  const std::string name = line.substr(begin + BEGIN.size());
  return name.substr(0, name.find(" -"));
}

void skip_to_end(std::istringstream& lines, const std::string& name, std::string& result) {
  for (std::string line; std::getline(lines, line);) {
    if (line.find(END) != std::string::npos) {
      result += line + "\n";
      return;
    }
  }
  throw std::invalid_argument("the generated part \"" + name + "\" has no end");
}

}  // namespace

Setting_Table packaged_table() {
  velmora_host::Setting_Defaults defaults = velmora_host::setting_defaults();
  defaults.staging_directory = "/usr/share/package-minder/staging";
  defaults.state_directory = "/var/lib/package-minder";
  return Setting_Table(defaults);
}

std::string example(const Setting_Table& table, const std::string& settings_file, Example kind) {
  std::string text = wrap(
      "Settings of package-minder. Copy this file to " + settings_file +
          ", remove the \"#\" before the settings that you change, and restart the service. Every setting is "
          "optional; the values shown are the defaults.",
      "# ", "# ");
  text +=
      "#\n" +
      wrap(
          "A line is KEY = VALUE. ${KEY} in a value is replaced by the value of that other setting. With an "
          "unknown key or a bad value the program does not start; a message says what would be right.",
          "# ", "# ");
  for (const auto& group : GROUPS) {
    if (group.group == Setting_Group::CHOCOLATEY) {
      continue;
    }
    text += fmt::format("\n# {:-<77}\n", fmt::format("--- {} ", group.title));
    for (const auto& setting : settings_of(table, group.group)) {
      if (table.applies(setting)) {
        const std::string value = setting.is_unset_when_empty() ? "" : " " + setting.default_value;
        text += "\n" + comment(setting) + (kind == Example::COMMENTED ? "#" : "") + setting.key + " =" +
                value + "\n";
      }
    }
  }
  return text;
}

std::string fill(const std::string& document, const Setting_Table& table) {
  std::istringstream lines(document);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    result += line + "\n";
    if (const std::string name = part_begun_by(line); !name.empty()) {
      result += part(name, table);
      skip_to_end(lines, name, result);
    }
  }
  return result;
}

}  // namespace zant::program::setting_documents
