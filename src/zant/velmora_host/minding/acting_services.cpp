#include <zant/velmora_host/minding/acting_services.hpp>

#include <zant/velmora_host/minding/interrupted_writes.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

// Where everybody could read what lies there: earlier versions made them so.
void close_private_directories(const Family& family, Host_Filesystem& filesystem) {
  for (const auto& directory : family.private_directories()) {
    if (filesystem.exists(directory)) {
      filesystem.create_directories(directory);
    }
  }
}

std::set<boost::filesystem::path> set_of(const std::vector<boost::filesystem::path>& paths) {
  return {paths.begin(), paths.end()};
}

bool has_failed(const Cycle_Record& record, Cycle_Step step) {
  return std::any_of(record.failures.begin(), record.failures.end(),
                     [step](const Cycle_Failure& failure) { return failure.step == step; });
}

// Notes the timer's files before a command that must not be left out after them, and sees to it that what a
// refresh leaves is whole and lasts.
class Acting_System : public velmora::System {
 public:
  Acting_System(const Host_Services& real, const Family& family, const Settings& settings,
                std::shared_ptr<Unfinished_Work> work, bool is_refresh_doubtful)
      : real_(real),
        family_(family),
        settings_(settings),
        work_(std::move(work)),
        is_refresh_doubtful_(is_refresh_doubtful) {}

  velmora::Command_Result run_command(const std::string& command, bool flag) override {
    const Command_Kind kind = family_.traits_of(command).kind;
    if (kind == Command_Kind::REFRESHES_REPOSITORIES) {
      return refresh_(command, flag);
    }
    if (kind == Command_Kind::DISABLES_TIMERS || kind == Command_Kind::RELOADS_TIMER) {
      note_timer_();
    }
    return real_.system->run_command(command, flag);
  }

 private:
  velmora::Command_Result refresh_(const std::string& command, bool flag) {
    if (is_refresh_doubtful_) {
      real_.filesystem->remove(family_.find_refreshed_files(settings_, *real_.filesystem));
    }
    const velmora::Command_Result result = real_.system->run_command(command, flag);
    if (result.exit_code == 0) {
      keep_refreshed_files_();
      is_refresh_doubtful_ = false;
    }
    return result;
  }

  void keep_refreshed_files_() {
    const std::string line = family_.refresh_keeping_line();
    if (!line.empty() &&
        real_.system->run_command(line, velmora::Run_Flag::WAIT_AND_CAPTURE).exit_code != 0) {
      throw std::runtime_error(
          "What the repository offers may not outlive a loss of power; it is fetched again");
    }
  }

  void note_timer_() {
    for (const auto& path : family_.installed_paths().upgrades) {
      if (family_.kind_of(path) == File_Kind::TIMER) {
        work_->note(path);
      }
    }
  }

  const Host_Services real_;
  const Family& family_;
  const Settings& settings_;
  std::shared_ptr<Unfinished_Work> work_;
  bool is_refresh_doubtful_;  // an earlier process may have been in the middle of one
};

// Notes which steps have come to their end.
class Watched_Package : public velmora::Package {
 public:
  Watched_Package(std::shared_ptr<velmora::Package> real, std::shared_ptr<std::set<Cycle_Step>> ended_steps)
      : real_(std::move(real)), ended_steps_(std::move(ended_steps)) {}

  bool locked() const override { return real_->locked(); }
  bool lock() override { return real_->lock(); }
  bool unlock() override { return real_->unlock(); }

  void initialize_repo_if_necessary() override {
    real_->initialize_repo_if_necessary();
    ended_steps_->insert(Cycle_Step::REPOSITORY);
  }

  void initialize_unattended_upgrades_if_necessary() override {
    real_->initialize_unattended_upgrades_if_necessary();
    ended_steps_->insert(Cycle_Step::UPGRADES);
  }

 private:
  std::shared_ptr<velmora::Package> real_;
  std::shared_ptr<std::set<Cycle_Step>> ended_steps_;
};

}  // namespace

Acting_Services::Acting_Services(const Host_Services& real, const Family& family, const Settings& settings)
    : repository_(set_of(family.installed_paths().repository)),
      upgrades_are_wanted_(settings.automatic_upgrades()),
      work_(std::make_shared<Unfinished_Work>(real.filesystem, settings.state_directory())) {
  leftovers_ = remove_interrupted_writes(family, settings, *real.filesystem);
  close_private_directories(family, *real.filesystem);
  const auto filesystem = std::make_shared<Acting_Filesystem>(
      real.filesystem, work_, family.private_directories(), settings.state_directory());
  filesystem->remove_leftovers();
  const bool is_refresh_doubtful = std::any_of(repository_.begin(), repository_.end(),
                                               [this](const Path& path) { return work_->was_touched(path); });
  services_ = {std::make_shared<Acting_System>(real, family, settings, work_, is_refresh_doubtful),
               filesystem};
}

std::shared_ptr<velmora::Package> Acting_Services::watch(std::shared_ptr<velmora::Package> package) {
  return std::make_shared<Watched_Package>(std::move(package), ended_steps_);
}

void Acting_Services::end_cycle(const Cycle_Record& record) {
  work_->end([this, &record](const Path& path) {
    const Cycle_Step step = repository_.contains(path) ? Cycle_Step::REPOSITORY : Cycle_Step::UPGRADES;
    const bool is_looked_at = step == Cycle_Step::REPOSITORY || upgrades_are_wanted_;
    return is_looked_at && ended_steps_->contains(step) && !has_failed(record, step);
  });
  ended_steps_->clear();
}

void Acting_Services::end_purge(Purge_Scope scope, bool has_succeeded) {
  work_->end([this, scope, has_succeeded](const Path& path) {
    return has_succeeded && (scope == Purge_Scope::EVERYTHING || !repository_.contains(path));
  });
}

}  // namespace zant::velmora_host
