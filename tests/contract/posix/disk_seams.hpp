#pragma once

#include <string>
#include <vector>

/// What a file service asks of the disk, seen between it and the C library (the test program is linked with
/// `--wrap`), because a disk that fails or loses its power at will is nothing that a test can have.
namespace zant::velmora::test_support::Disk_Seams {

/// Begins to record, and forgets failures that were asked for.
void reset();

/// What was asked since then, in order: "sync file", "sync directory", "rename".
std::vector<std::string> calls();

/// The next write of file contents fails with this error number.
void fail_next_write(int error_number);

/// The next request to bring a file or directory to the disk fails with this error number.
void fail_next_sync(int error_number);

/// The next file cannot be given another owner; the call fails with this error number.
void fail_next_change_of_owner(int error_number);

/// The next rename fails with this error number.
void fail_next_rename(int error_number);

}  // namespace zant::velmora::test_support::Disk_Seams
