#pragma once

#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/observation/cycle_recorder.hpp>
#include <zant/velmora_host/observation/observed_filesystem.hpp>
#include <zant/velmora_host/reports/planning_filesystem.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/forgiving_filesystem.hpp>
#include <zant/velmora_host/services/forwarding_filesystem.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <memory>

/// The file systems of this project over a directory on the disk of this machine: the same for every
/// contract.
///
/// @tparam Disk_Host has `root` and, for these classes, `disk`.
namespace zant::velmora_host::contract {

template <typename Disk_Host>
class File_Service_On : public Disk_Host {
 public:
  Host_Filesystem& filesystem() { return *this->disk(); }
};

template <typename Disk_Host>
class Forwarding_On : public Disk_Host {
 public:
  Host_Filesystem& filesystem() { return filesystem_; }

 private:
  Forwarding_Filesystem filesystem_{this->disk()};
};

template <typename Disk_Host>
class Forgiving_On : public Disk_Host {
 public:
  Host_Filesystem& filesystem() { return filesystem_; }

 private:
  Forgiving_Filesystem filesystem_{this->disk()};
};

template <typename Disk_Host>
class Observed_On : public Disk_Host {
 public:
  Host_Filesystem& filesystem() { return filesystem_; }

 private:
  const Family& family_ = *Family_Registry::built_in().all().front();
  Temporary_Directory state_;
  Observed_Filesystem filesystem_{
      this->disk(),
      std::make_shared<Cycle_Recorder>("run", this->disk(), family_, state_.path() / "last-cycle.json"),
      state_.path() / "staging"};
};

/// The directory in which the service really writes: what is only planned is elsewhere.
template <typename Disk_Host>
class Planning_In_Scratch_On : public Disk_Host {
 public:
  Host_Filesystem& filesystem() { return filesystem_; }

 private:
  Planning_Filesystem filesystem_{this->disk(), this->root()};
};

}  // namespace zant::velmora_host::contract
