#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <map>
#include <memory>
#include <string>

namespace zant::velmora {

/// Finds the templates of a directory and renders them by name into that directory.
///
/// A template is a file in the directory's "templates" folder whose name ends in ".template"; the rest of its
/// file name is both its own name and the name of the file that it renders. Its text is a format in the
/// `{}` syntax: each placeholder takes a value, a literal brace is doubled. Values are inserted as they are.
class PACKAGE_MINDER_EXPORT Template_Manager {
 public:
  /// Maps the templates at once; those added later are not seen.
  Template_Manager(std::shared_ptr<Filesystem> filesystem, const boost::filesystem::path& staging_directory);

  /// Renders the named template with the values in placeholder order. Instantiated in the library for the
  /// combinations listed below the class.
  ///
  /// @throws std::out_of_range    for an unknown template.
  /// @throws std::runtime_error   of the format library, for a malformed template or more placeholders than
  /// values.
  /// @throws Internal_Error<std::runtime_error> "Failed to generate file from template: NAME" when the file
  ///         cannot be written; an earlier file of that name is what the failed write left.
  template <typename... Args>
  void generate_file(const std::string& template_name, Args&&... args) const;

 private:
  void map_templates_();

  std::shared_ptr<Filesystem> filesystem_;
  boost::filesystem::path staging_directory_;
  std::map<std::string, boost::filesystem::path> templates_;
};

// One text (timer drop-ins, origins), one number (bandwidth limit), three texts (APT source list), five texts
// (DNF repository file).
extern template PACKAGE_MINDER_EXPORT void Template_Manager::generate_file(const std::string&,
                                                                           const std::string&) const;
extern template PACKAGE_MINDER_EXPORT void Template_Manager::generate_file(const std::string&,
                                                                           const int&) const;
extern template PACKAGE_MINDER_EXPORT void Template_Manager::generate_file(const std::string&,
                                                                           const std::string&,
                                                                           const std::string&,
                                                                           const std::string&) const;
extern template PACKAGE_MINDER_EXPORT void Template_Manager::generate_file(
    const std::string&, const std::string&, const std::string&, const std::string&, const std::string&,
    const std::string&) const;

}  // namespace zant::velmora
