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

TEST(UnifiedDiff, ShowsTwoPlacesFarFromEachOtherApart) {
  EXPECT_EQ(unified_diff({"/etc/f", "a\n1\n2\n3\n4\n5\n6\n7\n8\nb\n", "A\n1\n2\n3\n4\n5\n6\n7\n8\nB\n"}),
            "--- /etc/f\n+++ /etc/f\n@@ -1,4 +1,4 @@\n-a\n+A\n 1\n 2\n 3\n"
            "@@ -7,4 +7,4 @@\n 6\n 7\n 8\n-b\n+B\n");
}

TEST(UnifiedDiff, ShowsTabsAndNoCarriageReturn) {
  EXPECT_EQ(unified_diff({"/etc/f", std::nullopt, "\ta\r\n"}),
            "--- /dev/null\n+++ /etc/f\n@@ -0,0 +1,1 @@\n+\ta \n");
}

TEST(UnifiedDiff, ShowsNoLineOfAnEmptyFile) {
  EXPECT_EQ(unified_diff({"/etc/f", std::nullopt, ""}), "--- /dev/null\n+++ /etc/f\n");
}

TEST(UnifiedDiff, ShowsTextThatIsNotAsciiAsText) {
  EXPECT_EQ(unified_diff({"/etc/f", std::nullopt, "\xc3\xa4 ~\n"}),
            "--- /dev/null\n+++ /etc/f\n@@ -0,0 +1,1 @@\n+\xc3\xa4 ~\n");
}

TEST(UnifiedDiff, TakesEveryControlCharacterForBinary) {
  for (const char* text : {"\x01", "\x1f", "\x7f", "a\b"}) {
    EXPECT_EQ(unified_diff({"/etc/f", std::nullopt, text}).substr(0, 6), "Binary") << text;
    EXPECT_EQ(unified_diff({"/etc/f", text, "text"}).substr(0, 6), "Binary") << text;
  }
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
