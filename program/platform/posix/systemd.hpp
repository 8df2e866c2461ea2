#pragma once

#include <program/platform/service_manager.hpp>

#include <memory>

namespace zant::program {

/// systemd, or another service manager with its protocol, see sd_notify(3); null when none listens.
std::unique_ptr<Service_Manager> connect_to_systemd();

}  // namespace zant::program
