#pragma once

#include <cstdint>

namespace zant::velmora {

/// The host's init system. A consumer that switches on it and meets another value throws
/// `Internal_Error<std::logic_error>` "Invalid init value".
enum class Init : std::uint32_t {
  systemd = 0,  ///< process 1 is systemd
  other = 1,    ///< anything else; APT hosts are then served as sysvinit hosts
};

}  // namespace zant::velmora
