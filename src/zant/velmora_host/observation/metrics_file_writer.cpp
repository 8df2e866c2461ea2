#include <zant/velmora_host/observation/metrics_file_writer.hpp>

#include <zant/velmora_host/observation/metrics.hpp>
#include <zant/velmora_host/staging/metrics_file.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <chrono>

namespace zant::velmora_host {

// The keyring in the staging directory does not change while the process runs: it works on a copy. The last
// verdict stands until there is a newer one; one that is older than the process has its time with it.
Metrics_File_Writer::Metrics_File_Writer(const Minded_Host& host,
                                         const boost::filesystem::path& staging_directory)
    : file_(host.settings.metrics_file()),
      record_(cycle_store::file_in(host.settings.state_directory())),
      filesystem_(host.services.filesystem) {
  if (!file_.empty()) {
    keys_ = host.family.read_keys(host.services, staging_directory).value_or(std::vector<Signing_Key>{});
    verdict_ = verdict_store::read(*filesystem_, verdict_store::file_in(host.settings.state_directory()));
  }
}

void Metrics_File_Writer::note_cycle(const Cycle_State& state) {
  const std::lock_guard lock(mutex_);
  state_ = state;
  write_();
}

void Metrics_File_Writer::note_verdict(const Verdict& verdict,
                                       const std::optional<std::vector<Signing_Key>>& keys) {
  const std::lock_guard lock(mutex_);
  verdict_ = verdict;
  if (keys) {
    keys_ = *keys;
  }
  write_();
}

void Metrics_File_Writer::note_installation(bool is_stalled) {
  const std::lock_guard lock(mutex_);
  is_installation_stalled_ = is_stalled;
  // It may be the first cycle of this process, or of all.
  if (!state_) {
    state_ = cycle_store::read(*filesystem_, record_).value_or(Cycle_State{});
  }
  write_();
}

void Metrics_File_Writer::write_() const {
  if (!file_.empty() && state_ && may_write_metrics_file(file_)) {
    filesystem_->write_file(
        file_,
        metrics_text(*state_, verdict_, keys_, is_installation_stalled_, std::chrono::system_clock::now()),
        velmora::Write_Flag::REPLACE);
  }
}

}  // namespace zant::velmora_host
