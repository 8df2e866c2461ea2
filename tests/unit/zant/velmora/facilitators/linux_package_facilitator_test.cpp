#include <zant/velmora/facilitators/linux_package_facilitator.hpp>

#include <zant/velmora/apt/apt_package.hpp>
#include <zant/velmora/dnf/dnf_package.hpp>

#include <support/recorded_host.hpp>
#include <support/recorded_settings.hpp>
#include <support/scoped_locale.hpp>
#include <support/stub_package_config.hpp>
#include <support/throws_error.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace zant::velmora;
using namespace zant::velmora::test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Values;

namespace {

static_assert(!std::is_polymorphic_v<Linux_Package_Facilitator>);

class LinuxPackageFacilitator : public testing::Test {
 protected:
  LinuxPackageFacilitator() { host.system->on("which dnf &> /dev/null", 0); }

  Linux_Package_Facilitator make_facilitator(const std::string& os_release) {
    host.files->add_file("/etc/os-release", os_release);
    return {host.files, host.system, settings, "/staging"};
  }

  static std::shared_ptr<Package_Config> make_config(Package_Config_Type type) {
    return std::make_shared<Stub_Package_Config>(type);
  }

  static void expect_refused(const Linux_Package_Facilitator& facilitator,
                             std::shared_ptr<Package_Config> config) {
    expect_throws<Backend_Error<std::runtime_error>>([&] { facilitator.create_package(config); },
                                                     "Invalid package configuration", 204800);
  }

  // The family shows in the one kind of configuration over which a package is built.
  static Package_Config_Type family_of(const Linux_Package_Facilitator& facilitator) {
    for (const auto type : {Package_Config_Type::APT, Package_Config_Type::DNF, Package_Config_Type::Choco}) {
      try {
        facilitator.create_package(make_config(type));
        return type;
      } catch (const Backend_Error<std::runtime_error>&) {
        // not this one
      }
    }
    return Package_Config_Type::None;
  }

  Recorded_Host host;
  Recorded_Settings settings;
};

struct Os_Release {
  std::string name;
  std::string text;
};

class AptHostDetection : public LinuxPackageFacilitator, public testing::WithParamInterface<Os_Release> {};
class DnfHostDetection : public LinuxPackageFacilitator, public testing::WithParamInterface<Os_Release> {};
class UnsupportedHostDetection : public LinuxPackageFacilitator,
                                 public testing::WithParamInterface<Os_Release> {};
class HostDetection : public LinuxPackageFacilitator {};

const auto release_name = [](const auto& info) { return info.param.name; };

TEST_P(AptHostDetection, FindsTheFamilyInTheText) {
  EXPECT_EQ(family_of(make_facilitator(GetParam().text)), Package_Config_Type::APT);
}

INSTANTIATE_TEST_SUITE_P(
    Host, AptHostDetection,
    Values(Os_Release{"Debian", "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nID=debian\n"},
           Os_Release{"Ubuntu", "NAME=\"Ubuntu\"\nVERSION_ID=\"22.04\"\nID_LIKE=debian\n"},
           Os_Release{"UbuntuInMixedCaseOnly", "NAME=\"UbunTu\"\n"},
           Os_Release{"UbuntuInUpperCaseOnly", "NAME=UBUNTU"},
           Os_Release{"DebianInUpperCaseOnly", "ID=DEBIAN"},
           Os_Release{"DerivativeByItsParent", "ID=raspbian-like\nID_LIKE=\"debian\"\n"},
           Os_Release{"NameInsideAWord", "HOME_URL=https://www.mydebianhost.example/"},
           Os_Release{"DebianAndRhel", "ID_LIKE=\"rhel debian\""},
           Os_Release{"UbuntuAndRhel", "ID_LIKE=\"rhel ubuntu\""}),
    release_name);

TEST_P(DnfHostDetection, FindsTheFamilyInTheText) {
  EXPECT_EQ(family_of(make_facilitator(GetParam().text)), Package_Config_Type::DNF);
}

INSTANTIATE_TEST_SUITE_P(Host, DnfHostDetection,
                         Values(Os_Release{"Rhel", "ID=\"rhel\"\n"},
                                Os_Release{"DerivativeByItsParents",
                                           "ID=el\nID_LIKE=\"rhel centos fedora\"\n"},
                                Os_Release{"InUpperCaseOnly", "NAME=RHEL"}),
                         release_name);

TEST_P(UnsupportedHostDetection, FindsNoFamilyInTheText) {
  const auto facilitator = make_facilitator(GetParam().text);

  EXPECT_EQ(family_of(facilitator), Package_Config_Type::None);
  EXPECT_EQ(facilitator.create_package_config(true), nullptr);
  EXPECT_EQ(facilitator.create_package_config(false), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Host, UnsupportedHostDetection,
                         Values(Os_Release{"EmptyText", ""},
                                Os_Release{"AnotherDistribution", "ID=another\nID_LIKE=\"fedora suse\"\n"},
                                Os_Release{"NamesTornApart", "debi an ubun\ntu rh el"},
                                Os_Release{"Garbage", std::string("\0\xff{}%s\n\n\x80=", 9)}),
                         release_name);

TEST_F(HostDetection, ReadsOneFileAndRunsNothing) {
  make_facilitator("ID=debian");

  EXPECT_THAT(host.take_journal(), ElementsAre("read_file /etc/os-release (0)"));
  EXPECT_THAT(settings.keys(), IsEmpty());
}

TEST_F(HostDetection, TakesAHostWithoutTheFileForUnsupported) {
  const Linux_Package_Facilitator facilitator(host.files, host.system, settings, "/staging");

  EXPECT_EQ(family_of(facilitator), Package_Config_Type::None);
}

TEST_F(HostDetection, IsMadeOnceAtConstruction) {
  const auto facilitator = make_facilitator("ID=debian");
  host.files->add_file("/etc/os-release", "ID=rhel");

  EXPECT_EQ(family_of(facilitator), Package_Config_Type::APT);
}

TEST_F(HostDetection, LetsAnExceptionOfTheFileServiceThrough) {
  host.files->during("read_file /etc/os-release (0)", [] { throw std::domain_error("no disk"); });

  EXPECT_THROW(make_facilitator("ID=debian"), std::domain_error);
}

class Lowers_Hash_To_U : public std::ctype<char> {
 protected:
  char do_tolower(char character) const override {
    return character == '#' ? 'u' : std::ctype<char>::do_tolower(character);
  }
  const char* do_tolower(char* begin, const char* end) const override {
    for (; begin != end; ++begin) {
      *begin = do_tolower(*begin);
    }
    return end;
  }
};

TEST_F(HostDetection, LowersTheTextWithTheDefaultLocale) {
  EXPECT_EQ(family_of(make_facilitator("ID=#B#NT#")), Package_Config_Type::None);

  const Scoped_Locale locale(new Lowers_Hash_To_U);

  EXPECT_EQ(family_of(make_facilitator("ID=#B#NT#")), Package_Config_Type::APT);
}

TEST_F(HostDetection, OfAnUnsupportedHostIsNoErrorUntilAPackageIsAskedFor) {
  const auto facilitator = make_facilitator("ID=another");
  host.take_journal();

  const auto config = facilitator.create_package_config(true);

  EXPECT_EQ(config, nullptr);
  EXPECT_THAT(host.take_journal(), IsEmpty());
  EXPECT_THAT(settings.keys(), IsEmpty());
  expect_refused(facilitator, config);
}

class PackageCreation : public LinuxPackageFacilitator {};

TEST_F(PackageCreation, BuildsAnAptPackageOverAnAptConfiguration) {
  const auto facilitator = make_facilitator("ID=debian");
  const auto config = make_config(Package_Config_Type::APT);
  host.take_journal();

  const auto package = facilitator.create_package(config);

  EXPECT_NE(std::dynamic_pointer_cast<APT_Package>(package), nullptr);
  EXPECT_EQ(config.use_count(), 2) << "shared, not copied";
  EXPECT_THAT(host.take_journal(), IsEmpty());
}

TEST_F(PackageCreation, GivesThePackageTheHostsCommandService) {
  host.system->on("apt-mark -qq hold zant-velmora", 0);
  const auto package = make_facilitator("ID=debian").create_package(make_config(Package_Config_Type::APT));

  EXPECT_TRUE(package->lock());

  EXPECT_THAT(host.system->commands(), ElementsAre("apt-mark -qq hold zant-velmora"));
}

TEST_F(PackageCreation, BuildsAnIndependentPackageInEveryCall) {
  const auto facilitator = make_facilitator("ID=debian");
  const auto config = make_config(Package_Config_Type::APT);

  EXPECT_NE(facilitator.create_package(config), facilitator.create_package(config));
}

TEST_F(PackageCreation, RefusesAnEmptyPointer) {
  expect_refused(make_facilitator("ID=debian"), nullptr);
  expect_refused(make_facilitator("ID=rhel"), nullptr);
  expect_refused(make_facilitator("ID=another"), nullptr);
}

TEST_F(PackageCreation, RefusesAConfigurationOfAnotherFamily) {
  expect_refused(make_facilitator("ID=debian"), make_config(Package_Config_Type::DNF));
  expect_refused(make_facilitator("ID=rhel"), make_config(Package_Config_Type::APT));
  expect_refused(make_facilitator("ID=another"), make_config(Package_Config_Type::APT));
  expect_refused(make_facilitator("ID=another"), make_config(Package_Config_Type::DNF));
}

TEST_F(PackageCreation, RefusesAChocolateyConfigurationOnAnyHost) {
  expect_refused(make_facilitator("ID=debian"), make_config(Package_Config_Type::Choco));
  expect_refused(make_facilitator("ID=rhel"), make_config(Package_Config_Type::Choco));
  expect_refused(make_facilitator("ID=another"), make_config(Package_Config_Type::Choco));
}

TEST_F(PackageCreation, RefusesAConfigurationOfNoFamilyAlsoOnAnUnsupportedHost) {
  expect_refused(make_facilitator("ID=another"), make_config(Package_Config_Type::None));
  expect_refused(make_facilitator("ID=debian"), make_config(Package_Config_Type::None));
}

}  // namespace
