#include <zant/velmora_host/families/file_kind.hpp>

#include <zant/velmora_host/base/enum_names.hpp>

namespace zant::velmora_host {
namespace {

constexpr Enum_Names<File_Kind, FILE_KINDS.size()> NAMES = {{
    {File_Kind::KEYRING, "keyring"},
    {File_Kind::SOURCE_LIST, "source_list"},
    {File_Kind::REPOSITORY_FILE, "repository_file"},
    {File_Kind::PREFERENCES, "preferences"},
    {File_Kind::UPGRADE_CONFIGURATION, "upgrade_configuration"},
    {File_Kind::BACKUP, "backup"},
    {File_Kind::TIMER, "timer"},
    {File_Kind::OTHER, "other"},
}};

}  // namespace

const char* to_string(File_Kind kind) {
  return name_of(NAMES, kind);
}

std::optional<File_Kind> file_kind_from(std::string_view name) {
  return value_of(NAMES, name);
}

bool registers_repository(File_Kind kind) {
  return kind == File_Kind::KEYRING || kind == File_Kind::SOURCE_LIST || kind == File_Kind::REPOSITORY_FILE ||
         kind == File_Kind::PREFERENCES;
}

}  // namespace zant::velmora_host
