#pragma once

#include <zant/velmora/choco/virtual_choco_exe.hpp>

#include <gmock/gmock.h>

#include <string>

namespace zant::velmora::test_support {

class Mock_Choco_Exe : public Virtual_Choco_Exe {
 public:
  MOCK_METHOD(std::string, get_exe_path, (), (const, override));
  MOCK_METHOD(bool, package_is_pinned, (), (override));
  MOCK_METHOD(bool, pin_package, (), (override));
  MOCK_METHOD(bool, unpin_package, (), (override));
  MOCK_METHOD(bool, add_repo, (const std::string&), (override));
  MOCK_METHOD(bool, remove_repo, (), (override));
  MOCK_METHOD(void, clear_http_cache, (), (override));
};

}  // namespace zant::velmora::test_support
