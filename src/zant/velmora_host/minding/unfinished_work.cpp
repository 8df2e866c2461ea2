#include <zant/velmora_host/minding/unfinished_work.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/join.hpp>

#include <sstream>
#include <stdexcept>
#include <utility>

namespace zant::velmora_host {

Unfinished_Work::Unfinished_Work(std::shared_ptr<Host_Filesystem> filesystem, const Path& state_directory)
    : filesystem_(std::move(filesystem)), file_(state_directory / FILE) {
  std::istringstream lines(filesystem_->read_file(file_, velmora::Read_Flag::WHOLE_TEXT));
  for (std::string line; std::getline(lines, line);) {
    earlier_.insert(line);
  }
  written_ = earlier_;
}

void Unfinished_Work::note(const Path& path) {
  const std::lock_guard lock(mutex_);
  if (current_.contains(path.string())) {
    return;
  }
  if (!written_.contains(path.string())) {
    auto all = written_;
    all.insert(path.string());
    if (!write_(all)) {
      throw std::runtime_error(
          fmt::format("Nothing is changed, because it cannot be noted in {}", file_.string()));
    }
  }
  earlier_.erase(path.string());
  current_.insert(path.string());
  // Whoever touches a directory touches what is in it.
  const std::string below = path.string() + "/";
  for (auto one = earlier_.lower_bound(below); one != earlier_.end() && one->starts_with(below);) {
    current_.insert(earlier_.extract(one++));
  }
}

bool Unfinished_Work::was_touched(const Path& path) const {
  const std::lock_guard lock(mutex_);
  const auto is_earlier = [this](const Path& one) { return earlier_.contains(one.string()); };
  return !current_.contains(path.string()) && (is_earlier(path) || is_earlier(path.parent_path()));
}

void Unfinished_Work::end(const std::function<bool(const Path& path)>& is_finished) {
  const std::lock_guard lock(mutex_);
  earlier_.merge(current_);
  current_.clear();
  std::erase_if(earlier_, is_finished);
  // What stays noted in vain is only done once more.
  if (earlier_ != written_) {
    write_(earlier_);
  }
}

bool Unfinished_Work::write_(const std::set<std::string>& paths) {
  const bool is_written = paths.empty()
                              ? filesystem_->remove(file_)
                              : filesystem_->write_file(file_, boost::algorithm::join(paths, "\n") + "\n",
                                                        velmora::Write_Flag::REPLACE);
  if (is_written) {
    written_ = paths;
  }
  return is_written;
}

}  // namespace zant::velmora_host
