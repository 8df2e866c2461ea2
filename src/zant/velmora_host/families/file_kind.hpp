#pragma once

#include <zant/velmora_host/export.hpp>

#include <array>
#include <optional>
#include <string_view>

namespace zant::velmora_host {

/// What a file that the library installs on a host is for.
enum class File_Kind {
  KEYRING,
  SOURCE_LIST,
  REPOSITORY_FILE,
  PREFERENCES,  ///< which of the repository's packages may be installed
  UPGRADE_CONFIGURATION,
  BACKUP,  ///< of the host's own upgrade configuration
  TIMER,   ///< a drop-in of the upgrade timer
  OTHER,
};

inline constexpr std::array FILE_KINDS = {File_Kind::KEYRING,
                                          File_Kind::SOURCE_LIST,
                                          File_Kind::REPOSITORY_FILE,
                                          File_Kind::PREFERENCES,
                                          File_Kind::UPGRADE_CONFIGURATION,
                                          File_Kind::BACKUP,
                                          File_Kind::TIMER,
                                          File_Kind::OTHER};

/// "keyring", "source_list", "repository_file", "preferences", "upgrade_configuration", "backup", "timer" or
/// "other".
PACKAGE_MINDER_HOST_EXPORT const char* to_string(File_Kind kind);

/// The kind of that name; nothing for any other text.
PACKAGE_MINDER_HOST_EXPORT std::optional<File_Kind> file_kind_from(std::string_view name);

/// Whether the file registers the repository.
PACKAGE_MINDER_HOST_EXPORT bool registers_repository(File_Kind kind);

}  // namespace zant::velmora_host
