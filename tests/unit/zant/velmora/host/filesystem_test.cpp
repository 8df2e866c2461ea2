#include <zant/velmora/host/filesystem.hpp>

#include <support/virtual_slot.hpp>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

using namespace zant::velmora;
using test_support::virtual_slot;

namespace {

static_assert(std::is_abstract_v<Filesystem>);
static_assert(std::has_virtual_destructor_v<Filesystem>);

TEST(FilesystemInterface, KeepsTheOrderOfItsVirtualOperations) {
  using Path = Filesystem::Path;

  EXPECT_EQ(virtual_slot<bool (Filesystem::*)(const Path&)>(&Filesystem::remove), 2);
  EXPECT_EQ(virtual_slot<void (Filesystem::*)(const std::vector<Path>&)>(&Filesystem::remove), 3);
  EXPECT_EQ(virtual_slot(&Filesystem::remove_all), 4);
  EXPECT_EQ(virtual_slot(&Filesystem::exists), 5);
  EXPECT_EQ(virtual_slot(&Filesystem::is_empty), 6);
  EXPECT_EQ(virtual_slot(&Filesystem::list_files), 7);
  EXPECT_EQ(virtual_slot(&Filesystem::copy_file), 8);
  EXPECT_EQ(virtual_slot(&Filesystem::copy_files), 9);
  EXPECT_EQ(virtual_slot(&Filesystem::read_file), 10);
  EXPECT_EQ(virtual_slot(&Filesystem::write_file), 11);
  EXPECT_EQ(virtual_slot(&Filesystem::create_directories), 12);
  EXPECT_EQ(virtual_slot(&Filesystem::files_equal), 13);
}

TEST(FilesystemFlags, HaveTheNumbersThatHostsKnow) {
  EXPECT_EQ(Copy_Option::OVERWRITE_EXISTING, 2);
  EXPECT_EQ(Read_Flag::WHOLE_TEXT, 0);
  EXPECT_EQ(Read_Flag::WITHOUT_LINE_END, 1);
  EXPECT_EQ(Write_Flag::REPLACE, 0);
}

}  // namespace
