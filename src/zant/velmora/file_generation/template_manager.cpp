#include <zant/velmora/file_generation/template_manager.hpp>

#include <zant/velmora/package_minder/errors.hpp>

#include <fmt/format.h>

#include <utility>

namespace zant::velmora {
namespace {

constexpr const char* TEMPLATE_DIRECTORY = "templates";
constexpr const char* TEMPLATE_EXTENSION = ".template";

}  // namespace

Template_Manager::Template_Manager(std::shared_ptr<Filesystem> filesystem,
                                   const boost::filesystem::path& staging_directory)
    : filesystem_(std::move(filesystem)), staging_directory_(staging_directory) {
  map_templates_();
}

void Template_Manager::map_templates_() {
  for (const auto& file :
       filesystem_->list_files(staging_directory_ / TEMPLATE_DIRECTORY, TEMPLATE_EXTENSION)) {
    templates_.emplace(file.stem().string(), file);
  }
}

template <typename... Args>
void Template_Manager::generate_file(const std::string& template_name, Args&&... args) const {
  const std::string text = filesystem_->read_file(templates_.at(template_name), Read_Flag::WHOLE_TEXT);
  const std::string rendered = fmt::format(fmt::runtime(text), std::forward<Args>(args)...);
  if (!filesystem_->write_file(staging_directory_ / template_name, rendered, Write_Flag::REPLACE)) {
    throw_host_step_failed("Failed to generate file from template: " + template_name);
  }
}

template void Template_Manager::generate_file(const std::string&, const std::string&) const;
template void Template_Manager::generate_file(const std::string&, const int&) const;
template void Template_Manager::generate_file(const std::string&, const std::string&, const std::string&,
                                              const std::string&) const;
template void Template_Manager::generate_file(const std::string&, const std::string&, const std::string&,
                                              const std::string&, const std::string&,
                                              const std::string&) const;

}  // namespace zant::velmora
