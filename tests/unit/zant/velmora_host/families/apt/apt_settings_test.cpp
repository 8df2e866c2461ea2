#include <zant/velmora_host/families/apt/apt_settings.hpp>

#include <support/host_side/debian_host.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host::apt_outlook {
namespace {

class AptSettings : public ::testing::Test {
 protected:
  APT_Settings settings() { return {dump, *host.services.filesystem}; }

  test_support::Debian_Host host;
  std::string dump = "APT::Periodic::Enable \"0\";\nX::List \"\";\nX::List:: \"a\";\nX::List:: \"b\";\n";
};

TEST_F(AptSettings, HaveTheValuesInForce) {
  EXPECT_EQ(settings().value("apt::periodic::enable"), "0");
  EXPECT_EQ(settings().value("X::List::"), "b");
  EXPECT_EQ(settings().value("Y"), std::nullopt);
  EXPECT_EQ(settings().values("X::List::"), (std::vector<std::string>{"a", "b"}));
}

TEST_F(AptSettings, AreFoundInTheFileThatWins) {
  host.write("/etc/apt/apt.conf.d/10a", "APT::Periodic::Enable \"0\";\n");
  host.write("/etc/apt/apt.conf.d/90b.conf", "// more\nAPT::Periodic {\n  Enable \"0\";\n};\n");
  host.write("/etc/apt/apt.conf.d/95c.disabled", "APT::Periodic::Enable \"0\";\n");

  EXPECT_EQ(settings().evidence("APT::Periodic::Enable", "0"),
            "/etc/apt/apt.conf.d/90b.conf:3: Enable \"0\";");

  host.write("/etc/apt/apt.conf", "APT::Periodic::Enable \"0\";\n");
  EXPECT_EQ(settings().evidence("APT::Periodic::Enable", "0"),
            "/etc/apt/apt.conf:1: APT::Periodic::Enable \"0\";");
  EXPECT_EQ(settings().evidence("APT::Periodic::Enable", "7"),
            "apt-config dump: APT::Periodic::Enable \"7\";");
}

TEST_F(AptSettings, ArePutOutOfForceByALineThatBecomesAComment) {
  host.write("/etc/apt/apt.conf.d/90b", "X::List {\n  \"a\";\n  \"b\"; };\n");
  const auto found = settings();

  EXPECT_EQ(found.without(found.place_of("X::List", "a"), "otherwise"),
            "sed -i '2s|^|//|' '/etc/apt/apt.conf.d/90b'");
  EXPECT_EQ(found.without(found.place_of("X::List", "b"), "otherwise"), "otherwise")
      << "a brace would be missing";
  EXPECT_EQ(found.without(std::nullopt, "otherwise"), "otherwise");
}

TEST_F(AptSettings, OfSeveralLinesAreOverruled) {
  host.write("/etc/apt/apt.conf.d/90b", "X::Item\n  \"a\";\nX::Other \"b\"\n;\n");
  const auto found = settings();

  EXPECT_EQ(found.without(found.place_of("X::Item", "a"), "otherwise"), "otherwise");
  EXPECT_EQ(found.without(found.place_of("X::Other", "b"), "otherwise"), "otherwise");
}

TEST_F(AptSettings, OfATextOfSeveralLinesAreOverruled) {
  host.write("/etc/apt/apt.conf.d/90b", "X::Item \"a\n#clear X::Item\";\n");
  const auto found = settings();

  EXPECT_EQ(found.without(found.place_of("X::Item", "a\n#clear X::Item"), "otherwise"), "otherwise")
      << "the line looks like a directive, and ends a text";
}

TEST_F(AptSettings, InALineThatOpensAnotherBlockAreOverruled) {
  for (const char* const line : {"} C { y \"a\";", "y \"a\"; x \"}\" {", "y \"a\"; {"}) {
    host.write("/etc/apt/apt.conf.d/90b", std::string("B {\n") + line + "\nz \"1\"; };\n");
    const auto found = settings();
    const auto place =
        found.place_of("B::y", "a") ? found.place_of("B::y", "a") : found.place_of("C::y", "a");

    ASSERT_TRUE(place) << line;
    EXPECT_EQ(found.without(place, "otherwise"), "otherwise") << line;
  }
}

TEST_F(AptSettings, OfTheLibrarysFilesArePutBackByACycle) {
  host.write("/etc/apt/apt.conf.d/20auto-upgrades", "APT::Periodic::Enable \"0\";\n");
  const auto found = settings();

  EXPECT_EQ(found.without(found.place_of("APT::Periodic::Enable", "0"), ""), "package-minder once");
}

TEST_F(AptSettings, TellWhatClearsAnItem) {
  host.write("/etc/apt/apt.conf.d/99c", "# a comment\n#clear X;\n");

  EXPECT_EQ(settings().place_of_clearing("X::List")->evidence(), "/etc/apt/apt.conf.d/99c:2: #clear X;");
  EXPECT_EQ(settings().place_of_clearing("Y::List"), std::nullopt);
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
