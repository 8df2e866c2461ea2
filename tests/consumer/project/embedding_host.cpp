// A server that embeds the library, built against its installed form only. It runs what only looks at a host,
// so that it can run anywhere, and shows what works only if library and server agree on their types: errors
// are caught by tag in both directions, and a sink of the server's reads the library's severities.
//
//   embedding_host STAGING_DIRECTORY      (a writable copy of the staging tree)

#include <zant/logging/source.hpp>
#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/errors.hpp>
#include <zant/velmora/package_minder/package.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>
#include <zant/velmora/package_minder/package_minder_thread.hpp>
#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/file_service.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

using namespace zant::velmora;
using zant::logging::severity_level;
using zant::velmora_host::Command_Service;
using zant::velmora_host::File_Service;

namespace {

void expect(bool holds, const std::string& what) {
  std::cout << (holds ? "yes " : "NO  ") << what << std::endl;
  if (!holds) {
    throw std::logic_error(what);
  }
}

// Keeps the first record of gravity `error`.
class First_Error : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
 public:
  void consume(const boost::log::record_view& record) {
    if (!kept_ && boost::log::extract_or_default<severity_level>("Severity", record, severity_level::trace) >=
                      severity_level::error) {
      kept_ = true;
      text_.set_value(*boost::log::extract<std::string>("Channel", record) + ": " +
                      *boost::log::extract<std::string>("Message", record));
    }
  }

  std::string wait() { return text_.get_future().get(); }

 private:
  bool kept_ = false;
  std::promise<std::string> text_;
};

class Package_In_Trouble : public Package {
 public:
  bool locked() const override { return false; }
  bool lock() override { return false; }
  bool unlock() override { return false; }
  void initialize_repo_if_necessary() override {
    throw Internal_Error<std::runtime_error>("the server's own reason", Error_Code::INTERNAL);
  }
  void initialize_unattended_upgrades_if_necessary() override {}
};

void look_at_this_host(const std::string& staging_directory) {
  Poco::AutoPtr<Poco::Util::LayeredConfiguration> settings(new Poco::Util::LayeredConfiguration);
  Poco::AutoPtr<Poco::Util::MapConfiguration> own(new Poco::Util::MapConfiguration);
  own->setString("package.apt.repo.url", "http://repo.velmora.test/");
  settings->add(own, 0);

  const Linux_Package_Facilitator facilitator(std::make_shared<File_Service>(),
                                              std::make_shared<Command_Service>(Command_Service::Options{}),
                                              *settings, staging_directory);
  const auto config = facilitator.create_package_config(true);
  expect(config && config->type() == Package_Config_Type::APT, "this host is known as an APT host");
  expect(File_Service()
                 .read_file(staging_directory + "/config-files/apt/zant-velmora.list", 0)
                 .find("http://repo.velmora.test/") != std::string::npos,
         "the server's settings are in the staged source list");
  expect(!facilitator.create_package(config)->locked(), "the package is not held");
  try {
    facilitator.create_package(nullptr);
    expect(false, "a package without a configuration is refused");
  } catch (const Backend_Error<std::exception>& error) {
    expect(error.code() == Error_Code::BACKEND, "the library's error is caught by its tag");
  }
  try {
    facilitator.create_package(nullptr);
  } catch (const std::runtime_error& error) {
    expect(std::string(error.what()) == "Invalid package configuration", "and by its standard class");
  }
}

void let_the_worker_fail() {
  using Sink = boost::log::sinks::synchronous_sink<First_Error>;
  const auto backend = boost::make_shared<First_Error>();
  boost::log::core::get()->add_sink(boost::make_shared<Sink>(backend));

  const Package_Minder_Thread thread(std::make_shared<Package_Minder>(std::make_shared<Package_In_Trouble>()),
                                     3600);

  expect(backend->wait() == "Package_Minder_Thread: Encountered error: the server's own reason",
         "the server's error reaches the log by way of the worker, with its severity");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: embedding_host STAGING_DIRECTORY\n";
    return 64;
  }
  try {
    look_at_this_host(argv[1]);
    let_the_worker_fail();
    zant::logging::Source log;
    log.init_("Embedding_Host", "");
    ZANT_LOG(log, severity_level::notice) << "done";
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "failed: " << error.what() << '\n';
    return 1;
  }
}
