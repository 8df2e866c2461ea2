#include <zant/velmora_host/reports/unified_diff.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

TEST(UnifiedDiff, ShowsChangedLinesWithTheirSurroundings) {
  EXPECT_EQ(unified_diff({"/etc/f", "a\nb\nc\nd\ne\nf\n", "a\nb\nc\nD\ne\nf\n"}),
            "--- /etc/f\n+++ /etc/f\n@@ -1,6 +1,6 @@\n a\n b\n c\n-d\n+D\n e\n f\n");
}

TEST(UnifiedDiff, ShowsANewFileFromNothing) {
  EXPECT_EQ(unified_diff({"/etc/f", std::nullopt, "a\nb\n"}),
            "--- /dev/null\n+++ /etc/f\n@@ -0,0 +1,2 @@\n+a\n+b\n");
}

TEST(UnifiedDiff, ShowsARemovedFileDownToNothing) {
  EXPECT_EQ(unified_diff({"/etc/f", "a\n", std::nullopt}),
            "--- /etc/f\n+++ /dev/null\n@@ -1,1 +0,0 @@\n-a\n");
}

TEST(UnifiedDiff, ShowsAMissingLineEnd) {
  EXPECT_EQ(unified_diff({"/etc/f", "a", "a\n"}),
            "--- /etc/f\n+++ /etc/f\n@@ -1,1 +1,1 @@\n-a\n\\ No newline at end of file\n+a\n");
}

TEST(UnifiedDiff, TellsBinaryFilesInOneLine) {
  EXPECT_EQ(unified_diff({"/etc/k", std::nullopt, std::string("\x01\x02", 2)}),
            "Binary file /etc/k is created (2 bytes)\n");
  EXPECT_EQ(unified_diff({"/etc/k", "text", std::string("\x01", 1)}),
            "Binary file /etc/k is replaced (1 bytes, before 4)\n");
  EXPECT_EQ(unified_diff({"/etc/k", "\x1b[31m", std::nullopt}), "Binary file /etc/k is removed (5 bytes)\n");
}

}  // namespace
}  // namespace zant::velmora_host
