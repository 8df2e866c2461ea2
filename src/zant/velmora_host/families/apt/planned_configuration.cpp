#include <zant/velmora_host/families/apt/planned_configuration.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <fmt/format.h>

#include <array>
#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::filesystem::path;

constexpr const char* ROOT = "/etc/apt";

struct Directory {
  const char* path;
  const char* item;
};

constexpr std::array<Directory, 4> DIRECTORIES = {{{"/etc/apt/apt.conf.d", "Dir::Etc::parts"},
                                                   {"/etc/apt/sources.list.d", "Dir::Etc::sourceparts"},
                                                   {"/etc/apt/preferences.d", "Dir::Etc::preferencesparts"},
                                                   {"/etc/apt/trusted.gpg.d", "Dir::Etc::trustedparts"}}};

path directory_of(const Outlook_Question& question) {
  return question.private_directory / "planned";
}

path settings_file_of(const Outlook_Question& question) {
  return directory_of(question) / "settings";
}

path copy_of(const Outlook_Question& question, const Directory& directory) {
  return directory_of(question) / path(directory.path).filename();
}

// Copies, for what is written must not go through a link to a file of the host's.
void copy_host_files(const Outlook_Question& question) {
  std::string line;
  for (const auto& directory : DIRECTORIES) {
    const std::string target = copy_of(question, directory).string();
    line += fmt::format("mkdir -p {1} && cp -rL --preserve=timestamps {0}/. {1}/; ", directory.path, target);
  }
  ask(question, fmt::format("sh -c {}", quoted(line)));
}

void write_planned_files(const Outlook_Question& question) {
  auto& filesystem = *question.services.filesystem;
  for (const auto& [file, text] : question.planned) {
    const path copy = planned_place_of(question, file);
    filesystem.remove(copy);
    if (text) {
      filesystem.create_directories(copy.parent_path());
      filesystem.write_file(copy, *text, velmora::Write_Flag::REPLACE);
    }
  }
}

}  // namespace

path planned_place_of(const Outlook_Question& question, const path& file) {
  if (!question.planned.contains(file)) {
    return file;
  }
  const path below = file.lexically_relative(ROOT);
  const bool is_elsewhere = below.empty() || *below.begin() == "..";
  return directory_of(question) / (is_elsewhere ? path("other") / file.filename() : below);
}

void write_planned_configuration(const Outlook_Question& question) {
  if (question.planned.empty()) {
    return;
  }
  copy_host_files(question);
  write_planned_files(question);
  std::string settings;
  for (const auto& directory : DIRECTORIES) {
    settings += fmt::format("{} \"{}/\";\n", directory.item, copy_of(question, directory).string());
  }
  question.services.filesystem->write_file(settings_file_of(question), settings,
                                           velmora::Write_Flag::REPLACE);
}

std::string with_planned_configuration(const Outlook_Question& question) {
  return question.planned.empty()
             ? ""
             : fmt::format("env APT_CONFIG={} ", quoted(settings_file_of(question).string()));
}

}  // namespace zant::velmora_host::apt_outlook
