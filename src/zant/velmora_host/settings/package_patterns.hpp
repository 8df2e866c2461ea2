#pragma once

#include <string>
#include <vector>

/// Patterns of package names, as APT and DNF both read them: `*` stands for any characters, `?` for one, and
/// `[...]` for one of those listed.
namespace zant::velmora_host::package_patterns {

/// The patterns of a list that is separated by blanks.
std::vector<std::string> split(const std::string& list);

/// Whether the text has only characters of package names and whole wildcards.
bool is_pattern(const std::string& text);

/// Whether the pattern, which must be one, allows the package.
bool allows(const std::string& pattern, const std::string& package);

}  // namespace zant::velmora_host::package_patterns
