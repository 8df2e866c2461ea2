#pragma once

#include <boost/filesystem/path.hpp>

#include <functional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A template of a staging tree.
struct Staged_Template {
  boost::filesystem::path file;  ///< its place in the tree

  /// Fills a text in as the library fills the template.
  ///
  /// @throws fmt::format_error for a text with other placeholders than the library has values for.
  std::function<void(const std::string& text)> fill;
};

/// Which files a staging tree must have. Paths are relative to the tree.
struct Staging_Layout {
  std::vector<Staged_Template> templates;
  std::vector<boost::filesystem::path> static_files;  ///< installed as they are
  std::vector<boost::filesystem::path> keyrings;      ///< from the vendor; needed by hosts of one family only

  std::vector<boost::filesystem::path> optional_files = {};  ///< from the vendor; read where they are

  /// Adds what another layout has.
  void add(const Staging_Layout& other) {
    templates.insert(templates.end(), other.templates.begin(), other.templates.end());
    static_files.insert(static_files.end(), other.static_files.begin(), other.static_files.end());
    keyrings.insert(keyrings.end(), other.keyrings.begin(), other.keyrings.end());
    optional_files.insert(optional_files.end(), other.optional_files.begin(), other.optional_files.end());
  }
};

}  // namespace zant::velmora_host
