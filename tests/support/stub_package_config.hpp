#pragma once

#include <zant/velmora/package_minder/package_config.hpp>

namespace zant::velmora::test_support {

/// A configuration of any family that does nothing, and counts how often it is asked for the repository.
class Stub_Package_Config : public Package_Config {
 public:
  explicit Stub_Package_Config(Package_Config_Type type) : type_(type) {}

  Package_Config_Type type() const override { return type_; }
  void setup_repo_if_necessary() override { ++repo_setups; }
  void setup_unattended_upgrades_if_necessary() override {}
  void purge_unattended_upgrade_configuration() override {}
  void purge_all_configurations() override {}

  int repo_setups = 0;

 private:
  Package_Config_Type type_;
};

}  // namespace zant::velmora::test_support
