#pragma once

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <zant/velmora/host/system.hpp>

#include <memory>

namespace zant::velmora_host {

/// The two services that the library and the host side work through.
struct Host_Services {
  std::shared_ptr<velmora::System> system;
  std::shared_ptr<Host_Filesystem> filesystem;
};

}  // namespace zant::velmora_host
