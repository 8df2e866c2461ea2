#pragma once

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// The system's directory for the data of programs, usually C:/ProgramData.
boost::filesystem::path program_data();

/// This program's directory there; administrators and the system alone may change it.
boost::filesystem::path own_program_data();

}  // namespace zant::velmora_host
