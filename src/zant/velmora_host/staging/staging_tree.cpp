#include <zant/velmora_host/staging/staging_tree.hpp>

#include <zant/velmora_host/services/disk_operations.hpp>
#include <zant/velmora_host/services/passing_error.hpp>
#include <zant/velmora_host/services/privileges.hpp>

#include <fmt/format.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <fstream>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

constexpr const char* REINSTALL = "install the package-minder's staging tree again, or correct it";

// A file that cannot be looked at is not missing.
bool is_file(const path& file) {
  boost::system::error_code error;
  const bool is_regular = boost::filesystem::is_regular_file(file, error);
  throw_if_passing(error, "look for", file);
  return is_regular;
}

std::string read(const path& file) {
  try {
    return disk::read(file);
  } catch (const std::system_error& error) {
    throw std::runtime_error(fmt::format("cannot read {}: {}", file.string(), error.what()));
  }
}

Findings find_template_faults(const path& tree, const Staging_Layout& layout) {
  Findings findings;
  for (const auto& candidate : layout.templates) {
    const path file = tree / candidate.file;
    if (!is_file(file)) {
      findings.push_back({file.string(), "this template is missing", REINSTALL, "staging.file_missing"});
      continue;
    }
    try {
      candidate.fill(read(file));
    } catch (const fmt::format_error& error) {
      findings.push_back({file.string(), fmt::format("this template cannot be filled: {}", error.what()),
                          "write literal braces twice, and no more placeholders than the file has values",
                          "staging.bad_template"});
    }
  }
  return findings;
}

Findings find_missing_files(const path& tree, const std::vector<path>& files, const char* fault,
                            const char* remedy, const char* code) {
  Findings findings;
  for (const auto& file : files) {
    if (!is_file(tree / file)) {
      findings.push_back({(tree / file).string(), fault, remedy, code});
    }
  }
  return findings;
}

// Copying and checking stay inside the tree: links to directories are not followed.
bool is_plain(const path& entry) {
  boost::system::error_code error;
  const boost::filesystem::file_status status = boost::filesystem::symlink_status(entry, error);
  throw_if_passing(error, "look at", entry);
  return status.type() == boost::filesystem::directory_file || is_file(entry);
}

Findings find_foreign_writer(const path& entry) {
  const std::string fault = privileges::who_else_may_write(entry);
  if (!fault.empty()) {
    return {{entry.string(), fault,
             "its files are installed on the host: it must belong to root, and nobody else may "
             "write to it",
             "staging.writable_by_others"}};
  }
  return {};
}

// Boost's copy_file fails between file systems on kernels that cannot copy across them.
void copy_text(const path& source, const path& target) {
  std::ofstream output(target.string(), std::ios::binary);
  output << read(source) << std::flush;
  if (!output) {
    throw std::runtime_error(fmt::format("cannot copy {} to {}", source.string(), target.string()));
  }
}

// The first one is enough: when one entry is wrong, usually all are.
Findings find_first_entry_fault(const path& tree) {
  Findings findings = find_foreign_writer(tree);
  boost::system::error_code error;
  for (boost::filesystem::recursive_directory_iterator entry(tree, error), end;
       findings.empty() && !error && entry != end; entry.increment(error)) {
    findings = is_plain(entry->path())
                   ? find_foreign_writer(entry->path())
                   : Findings{{entry->path().string(), "is neither a file nor a directory",
                               "remove it from the staging tree", "staging.not_a_file"}};
  }
  return findings;
}

}  // namespace

Findings find_staging_tree_faults(const path& tree, const Staging_Layout& layout) {
  boost::system::error_code ignored;
  if (!boost::filesystem::is_directory(tree, ignored)) {
    return {{tree.string(), "this directory, the staging tree, is missing",
             "install it, or name another one with minder.staging_directory", "staging.missing"}};
  }
  // First, and alone: nothing is read that others may swap meanwhile.
  Findings findings = find_first_entry_fault(tree);
  if (!findings.empty()) {
    return findings;
  }
  append(findings, find_template_faults(tree, layout));
  append(findings, find_missing_files(tree, layout.static_files, "this file is missing", REINSTALL,
                                      "staging.file_missing"));
  return findings;
}

Findings find_foreign_files(const path& tree, const Staging_Layout& layout) {
  std::set<path> known = {tree / "keyrings" / "README"};
  for (const auto& known_template : layout.templates) {
    known.insert(tree / known_template.file);
  }
  for (const auto* files : {&layout.static_files, &layout.keyrings, &layout.optional_files}) {
    for (const auto& file : *files) {
      known.insert(tree / file);
    }
  }
  Findings findings;
  boost::system::error_code error;
  for (boost::filesystem::recursive_directory_iterator entry(tree, error), end; !error && entry != end;
       entry.increment(error)) {
    if (is_file(entry->path()) && !known.contains(entry->path())) {
      findings.push_back({entry->path().string(), "nothing reads this file",
                          "remove it; the names in the staging tree are fixed", "staging.foreign_file"});
    }
  }
  return findings;
}

Findings find_keyring_faults(const path& tree, const Staging_Layout& layout) {
  return find_missing_files(tree, layout.keyrings, "the keyring of the repository is missing",
                            "put the repository's public keys there, binary, as \"gpg --export\" writes them",
                            "keyring.missing");
}

void copy_staging_tree(const path& tree, const path& destination) {
  boost::filesystem::create_directory(destination);
  for (const auto& entry : boost::filesystem::directory_iterator(tree)) {
    const path target = destination / entry.path().filename();
    if (boost::filesystem::is_directory(entry.path())) {
      copy_staging_tree(entry.path(), target);
    } else {
      copy_text(entry.path(), target);
    }
  }
}

void make_staging_directory(const path& tree, const Staging_Layout& layout, const path& directory,
                            velmora::Filesystem& filesystem) {
  if (!layout.templates.empty()) {
    copy_staging_tree(tree, directory);
  } else if (!filesystem.create_directories(directory)) {
    throw std::runtime_error(fmt::format("cannot create the directory {}", directory.string()));
  }
}

}  // namespace zant::velmora_host
