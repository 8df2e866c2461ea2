// A server that minds its package until Enter is pressed: complete_host STAGING_DIRECTORY REPOSITORY_URL
#include "services.hpp"

#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/package_minder_thread.hpp>

#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>

#include <iostream>

using namespace zant::velmora;

int main(int, char** argv) try {
  Poco::AutoPtr<Poco::Util::LayeredConfiguration> settings(new Poco::Util::LayeredConfiguration);
  settings->addWriteable(new Poco::Util::MapConfiguration, 0);
  settings->setString("package.apt.repo.url", argv[2]);
  const Linux_Package_Facilitator facilitator(std::make_shared<Files>(), std::make_shared<Shell>(), *settings,
                                              argv[1]);
  const auto package = facilitator.create_package(facilitator.create_package_config(true));
  const Package_Minder_Thread minding(std::make_shared<Package_Minder>(package), 3600);
  std::cin.get();  // The server's own work.
  return 0;
} catch (const std::exception& error) {
  std::cerr << "Package minding cannot start: " << error.what() << '\n';
  return 1;
}
