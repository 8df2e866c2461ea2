#pragma once

#include <zant/velmora/package_minder/package_config.hpp>

#include <gmock/gmock.h>

namespace zant::velmora::test_support {

class Mock_Package_Config : public Package_Config {
 public:
  MOCK_METHOD(Package_Config_Type, type, (), (const, override));
  MOCK_METHOD(void, setup_repo_if_necessary, (), (override));
  MOCK_METHOD(void, setup_unattended_upgrades_if_necessary, (), (override));
  MOCK_METHOD(void, purge_unattended_upgrade_configuration, (), (override));
  MOCK_METHOD(void, purge_all_configurations, (), (override));
};

}  // namespace zant::velmora::test_support
