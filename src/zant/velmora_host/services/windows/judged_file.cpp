#include <zant/velmora_host/services/judged_file.hpp>

#include <zant/velmora_host/services/windows/input_file.hpp>
#include <zant/velmora_host/services/windows/open_file_privileges.hpp>

#include <boost/filesystem/operations.hpp>

#include <windows.h>

#include <system_error>
#include <utility>

namespace zant::velmora_host {

Judged_Text read_judged(const boost::filesystem::path& file) {
  boost::system::error_code ignored;
  if (boost::filesystem::is_directory(file, ignored)) {
    throw std::system_error(std::make_error_code(std::errc::is_a_directory));
  }
  Input_File input(file);
  // A pipe or a device would be waited for.
  if (::GetFileType(input.handle().get()) != FILE_TYPE_DISK) {
    throw std::system_error(std::make_error_code(std::errc::invalid_argument));
  }
  if (std::string fault = privileges::who_else_may_write(input.handle(), file); !fault.empty()) {
    return {"", std::move(fault)};
  }
  return {input.read_all(), ""};
}

}  // namespace zant::velmora_host
