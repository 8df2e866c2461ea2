#include <zant/velmora_host/services/posix/input_file.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <system_error>

namespace zant::velmora_host {
namespace {

class InputFile : public ::testing::Test {
 protected:
  static int error_of(const std::string& path) {
    try {
      Input_File file(path);
      file.next_piece();
    } catch (const std::system_error& error) {
      return error.code().value();
    }
    return 0;
  }

  Temporary_Directory directory_;
};

TEST_F(InputFile, ComesInPiecesThatAreFull) {
  const std::string path = (directory_.path() / "file").string();
  const std::string text(100000, 'x');
  std::ofstream(path) << text;

  Input_File file(path);

  EXPECT_EQ(file.size(), text.size());
  std::string read;
  std::size_t first_size = 0;
  for (auto piece = file.next_piece(); !piece.empty(); piece = file.next_piece()) {
    EXPECT_TRUE(first_size == 0 || piece.size() == first_size || read.size() + piece.size() == text.size());
    first_size = first_size == 0 ? piece.size() : first_size;
    read += piece;
  }
  EXPECT_EQ(read, text);
}

TEST_F(InputFile, ThatCannotBeReadIsAFailureAndNoLoop) {
  // A regular file, whose first page nobody has.
  EXPECT_EQ(error_of("/proc/self/mem"), EIO);
}

TEST_F(InputFile, IsNeitherADirectoryNorADevice) {
  EXPECT_EQ(error_of(directory_.path().string()), EISDIR);
  EXPECT_EQ(error_of("/dev/null"), EINVAL);
  EXPECT_EQ(error_of((directory_.path() / "missing").string()), ENOENT);
}

}  // namespace
}  // namespace zant::velmora_host
