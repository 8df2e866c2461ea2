#include <zant/velmora_host/families/contained_fetches.hpp>

#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <fmt/format.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <system_error>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;

constexpr const char* ANY_DIRECTORY = "/";

bool holds_a_file_of_the_largest_size(const path& directory) {
  boost::system::error_code error;
  for (boost::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    boost::system::error_code is_no_file;
    if (boost::filesystem::file_size(entry->path(), is_no_file) >= Contained_Fetches::LARGEST &&
        !is_no_file) {
      return true;
    }
  }
  return false;
}

}  // namespace

Contained_Fetches::Contained_Fetches(std::shared_ptr<Interruptible_System> real,
                                     const Family_Registry& families)
    : real_(std::move(real)), families_(families) {
  log_.init_("Command_Service", "");
}

velmora::Command_Result Contained_Fetches::run_command(const std::string& command, bool flag) {
  return run_(command, [this, flag](const std::string& line) { return real_->run_command(line, flag); });
}

velmora::Command_Result Contained_Fetches::run_command_within(const std::string& command,
                                                              const Command_Bounds& bounds) {
  return run_(command,
              [this, &bounds](const std::string& line) { return real_->run_command_within(line, bounds); });
}

velmora::Command_Result Contained_Fetches::run_(const std::string& command, const Run& run) {
  if (!families_.contained_form_of(command, ANY_DIRECTORY)) {
    return run(command);
  }
  try {
    return run_contained_(command, run);
  } catch (const std::system_error& error) {
    ZANT_LOG(log_, severity_level::error)
        << fmt::format("Could not start a command: {} | Command: {}", error.what(), command);
    return {"", Exit_Code::NOT_STARTED};
  }
}

velmora::Command_Result Contained_Fetches::run_contained_(const std::string& command, const Run& run) {
  const Temporary_Directory directory;
  auto result = run(families_.contained_form_of(command, directory.path()).value_or(command));
  if (result.exit_code != 0 && holds_a_file_of_the_largest_size(directory.path())) {
    ZANT_LOG(log_, severity_level::error)
        << fmt::format("What a command fetched is larger than {} MiB and was cut off | Command: {}",
                       LARGEST >> 20U, command);
    result.exit_code = TOO_LARGE;
  }
  return result;
}

}  // namespace zant::velmora_host
