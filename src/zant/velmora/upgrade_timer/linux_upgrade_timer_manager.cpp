#include <zant/velmora/upgrade_timer/linux_upgrade_timer_manager.hpp>

#include <zant/velmora/package_minder/errors.hpp>

#include <algorithm>
#include <utility>

namespace zant::velmora {

using zant::logging::severity_level;

Linux_Upgrade_Timer_Manager::Linux_Upgrade_Timer_Manager(
    std::shared_ptr<Filesystem> filesystem, std::shared_ptr<Upgrade_Timer_Command_Runner> command_runner,
    const Timer_Config& timer_config)
    : filesystem_(std::move(filesystem)),
      command_runner_(std::move(command_runner)),
      timer_config_(timer_config) {
  log_.init_("Linux_Upgrade_Timer_Manager", "");
}

Upgrade_Timer_Manager::Timer_Config Linux_Upgrade_Timer_Manager::get_timer_config() const {
  return timer_config_;
}

void Linux_Upgrade_Timer_Manager::initialize_timer() {
  Staged staged{};
  staged.on_calendar = filesystem_->exists(timer_config_.on_calendar.source);
  staged.randomized_delay = filesystem_->exists(timer_config_.randomized_delay.source);

  if (!staged.on_calendar && !staged.randomized_delay) {
    restore_or_start_timer_();
  } else if (overrides_in_sync_(staged)) {
    ensure_timer_is_running_();
  } else {
    install_overrides_(staged);
  }
}

bool Linux_Upgrade_Timer_Manager::restore_timer() {
  if (!timer_override_files_exist_()) {
    remove_timer_override_dir_if_empty_();
    return false;
  }
  ZANT_LOG(log_, severity_level::notice) << "Removing upgrade timer overrides";
  filesystem_->remove(timer_config_.get_target_files());
  remove_timer_override_dir_if_empty_();
  if (!command_runner_->reload_timer()) {
    ZANT_LOG(log_, severity_level::error)
        << "Failed to reload upgrade timer after restoring configuration. Continuing anyway.";
  }
  return true;
}

bool Linux_Upgrade_Timer_Manager::timer_override_files_exist_() const {
  const auto targets = timer_config_.get_target_files();
  return std::any_of(targets.begin(), targets.end(),
                     [this](const auto& target) { return filesystem_->exists(target); });
}

void Linux_Upgrade_Timer_Manager::remove_timer_override_dir_if_empty_() {
  const auto& directory = timer_config_.override_dir;
  if (filesystem_->exists(directory) && filesystem_->is_empty(directory)) {
    filesystem_->remove(directory);
  }
}

bool Linux_Upgrade_Timer_Manager::overrides_in_sync_(const Staged& staged) const {
  return in_sync_(timer_config_.on_calendar, staged.on_calendar) &&
         in_sync_(timer_config_.randomized_delay, staged.randomized_delay);
}

bool Linux_Upgrade_Timer_Manager::in_sync_(const Timer_Config::Info& info, bool staged) const {
  if (!staged && !filesystem_->exists(info.target)) {
    return true;
  }
  // Unequal whenever the staged file is missing: an installed one is then stale.
  return filesystem_->files_equal(info.source, info.target);
}

void Linux_Upgrade_Timer_Manager::restore_or_start_timer_() {
  if (restore_timer() || command_runner_->start_timer()) {
    return;
  }
  ZANT_LOG(log_, severity_level::error)
      << "Timer restoration wasn't necessary, but failed to restart the timer. Continuing anyway.";
}

void Linux_Upgrade_Timer_Manager::ensure_timer_is_running_() {
  if (!command_runner_->timer_is_running()) {
    if (!command_runner_->start_timer()) {
      throw_host_step_failed("Failed to start upgrade timer");
    }
    return;
  }
  if (command_runner_->timer_needs_reload() && !command_runner_->reload_timer()) {
    throw_host_step_failed("Failed to reload upgrade timer");
  }
}

void Linux_Upgrade_Timer_Manager::install_overrides_(const Staged& staged) {
  ZANT_LOG(log_, severity_level::notice) << "Installing upgrade timer overrides";
  filesystem_->remove_all(timer_config_.override_dir);
  filesystem_->create_directories(timer_config_.override_dir);
  if (copy_overrides_(staged) && command_runner_->reload_timer()) {
    return;
  }
  restore_timer();
  throw_host_step_failed("Failed to install upgrade timer overrides");
}

bool Linux_Upgrade_Timer_Manager::copy_overrides_(const Staged& staged) {
  return (!staged.on_calendar || copy_override_(timer_config_.on_calendar)) &&
         (!staged.randomized_delay || copy_override_(timer_config_.randomized_delay));
}

bool Linux_Upgrade_Timer_Manager::copy_override_(const Timer_Config::Info& info) {
  return filesystem_->copy_file(info.source, info.target, Copy_Option::OVERWRITE_EXISTING);
}

}  // namespace zant::velmora
