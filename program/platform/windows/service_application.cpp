#include <program/platform/windows/service_application.hpp>

#include <program/platform/windows/service_log.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/OptionSet.h>
#include <Poco/Util/ServerApplication.h>

#include <windows.h>

#include <string>
#include <vector>

namespace zant::program::service_application {
namespace {

// A process that the service manager starts has nowhere to write to.
bool has_standard_error() {
  const HANDLE handle = ::GetStdHandle(STD_ERROR_HANDLE);
  return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

class Application : public Poco::Util::ServerApplication {
 public:
  explicit Application(const std::function<int()>& work) : work_(work) {}

  int exit_status() const noexcept { return exit_status_; }

 protected:
  // The command line has been read already, and by other rules.
  void defineOptions(Poco::Util::OptionSet& /*options*/) override {}

  int main(const std::vector<std::string>& /*arguments*/) override {
    if (!has_standard_error()) {
      open_service_log();
    }
    exit_status_ = work_();
    return exit_status_;
  }

 private:
  const std::function<int()>& work_;
  int exit_status_ = 0;
};

}  // namespace

int run(const std::function<int()>& work) {
  // Shared with Poco, which has one application object for the process.
  Poco::AutoPtr<Application> application(new Application(work));
  application->run(std::vector<std::string>{"package-minder"});
  // Poco returns 0 from a service, whatever became of it.
  return application->exit_status();
}

}  // namespace zant::program::service_application
