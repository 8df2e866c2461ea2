#include <zant/velmora_host/observation/cycle_watch.hpp>

namespace zant::velmora_host {
namespace {

// For what is not a command: reading and writing small files, on however slow a disk; and for a machine that
// is too busy to run anybody on time.
constexpr auto SLACK = std::chrono::minutes(5);

}  // namespace

Cycle_Watch::Cycle_Watch(std::chrono::seconds interval, std::chrono::seconds command_limit,
                         Clock::time_point now)
    : interval_(interval), command_limit_(command_limit), since_(now) {}

void Cycle_Watch::note_command_begin(Command_Kind kind, Clock::time_point now) {
  note_(kind == Command_Kind::INSTALLS_PACKAGES ? Doing::INSTALLATION : Doing::COMMAND, now);
}

bool Cycle_Watch::is_alive(Clock::time_point now) const {
  const std::lock_guard lock(mutex_);
  switch (doing_) {
    case Doing::INSTALLATION:
      return true;
    case Doing::COMMAND:
      return now - since_ <= command_limit_ + SLACK;
    case Doing::WORKING:
      return now - since_ <= SLACK;
    case Doing::WAITING:
      return now - since_ <= interval_ + SLACK;
  }
  return false;
}

void Cycle_Watch::note_(Doing doing, Clock::time_point now) {
  const std::lock_guard lock(mutex_);
  doing_ = doing;
  since_ = now;
}

}  // namespace zant::velmora_host
