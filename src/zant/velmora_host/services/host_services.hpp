#pragma once

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>

#include <memory>

namespace zant::velmora_host {

/// The two services that libpackage_minder works through.
struct Host_Services {
  std::shared_ptr<velmora::System> system;
  std::shared_ptr<velmora::Filesystem> filesystem;
};

}  // namespace zant::velmora_host
