#include <program/platform/posix/systemd.hpp>

#include <systemd/sd-daemon.h>

#include <cstdint>
#include <cstdlib>

namespace zant::program {
namespace {

constexpr int KEEP_ENVIRONMENT = 0;

class Systemd : public Service_Manager {
 public:
  void ready(const std::string& status) override { notify_("READY=1\nSTATUS=" + status); }
  void status(const std::string& status) override { notify_("STATUS=" + status); }

  std::chrono::milliseconds watchdog_interval() const override {
    std::uint64_t limit_in_microseconds = 0;
    if (::sd_watchdog_enabled(KEEP_ENVIRONMENT, &limit_in_microseconds) <= 0) {
      return std::chrono::milliseconds::zero();
    }
    // Twice within the limit, as sd_watchdog_enabled(3) recommends.
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::microseconds(limit_in_microseconds / 2));
  }

  void alive() override { notify_("WATCHDOG=1"); }
  void stopping(const std::string& status) override { notify_("STOPPING=1\nSTATUS=" + status); }

 private:
  static void notify_(const std::string& state) { ::sd_notify(KEEP_ENVIRONMENT, state.c_str()); }
};

}  // namespace

std::unique_ptr<Service_Manager> connect_to_systemd() {
  return std::getenv("NOTIFY_SOCKET") != nullptr ? std::make_unique<Systemd>() : nullptr;
}

}  // namespace zant::program
