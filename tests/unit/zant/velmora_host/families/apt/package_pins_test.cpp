#include <zant/velmora_host/families/apt/package_pins.hpp>

#include <gtest/gtest.h>

#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

std::string found(const std::string& preferences) {
  const auto pin = find_pin(preferences, "zant-velmora");
  return pin ? std::to_string(pin->first_line) + "-" + std::to_string(pin->last_line) + " " + pin->text
             : "none";
}

TEST(PackagePins, AreFoundByNamePatternAndExpression) {
  EXPECT_EQ(found("Package: zant-velmora\nPin: version 1.*\nPin-Priority: 1001\n"),
            "1-3 Package: zant-velmora; Pin: version 1.*; Pin-Priority: 1001");
  EXPECT_EQ(found("# why\n\nPackage: bash zant*\nPin: origin \"\"\nPin-Priority: -1\n\nPackage: x\n"),
            "3-5 Package: bash zant*; Pin: origin \"\"; Pin-Priority: -1");
  EXPECT_EQ(found("Package: /^zant/\nPin: release *\nPin-Priority: 1\n"),
            "1-3 Package: /^zant/; Pin: release *; Pin-Priority: 1");
  EXPECT_EQ(found("Package: src:zant-velmora\nPin: release *\n"),
            "1-2 Package: src:zant-velmora; Pin: release *");
}

TEST(PackagePins, AreMatchedAsAptDoesAndInTime) {
  EXPECT_EQ(found("Package: /^ZANT/\nPin: release *\n"), "1-2 Package: /^ZANT/; Pin: release *");
  EXPECT_EQ(found("Package: /((((.*)*)*)*)*x/\nPin: release *\n"), "none");
  EXPECT_EQ(found("Package: /((.{500}){500}){500}/\nPin: release *\n"), "none");
  EXPECT_EQ(found("Package: /" + std::string(1000000, '(') + "/\nPin: release *\n"), "none");
}

TEST(PackagePins, OfAllPackagesComeAfterThoseOfTheName) {
  EXPECT_EQ(found("Package: *\nPin: release *\n\nPackage: zant-velmora\nPin: release *\n"),
            "4-5 Package: zant-velmora; Pin: release *");
  EXPECT_EQ(found("Package: bash\nPin: release *\n\nPackage: *\nPin: release a\n"),
            "4-5 Package: *; Pin: release a");
}

TEST(PackagePins, AreNoneInOtherTexts) {
  for (const char* const text :
       {"", "\n\n#\n", "Package: bash\nPin: release *\n", "Package: /(/\n", "Package:\n", "\xff\xfe"}) {
    EXPECT_EQ(found(text), "none");
  }
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
