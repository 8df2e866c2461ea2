#include <faults/simulated_disk.hpp>

#include <zant/velmora_host/services/file_service.hpp>

#include <algorithm>
#include <stdexcept>
#include <system_error>

namespace zant::velmora_host::faults {

std::string Simulated_Disk::text_of(const std::string& path) const {
  const auto found = entries_.find(path);
  return found == entries_.end() ? "" : found->second.value_or("");
}

void Simulated_Disk::put(const std::string& path, const std::string& text) {
  for (Path parent = Path(path).parent_path(); !parent.empty(); parent = parent.parent_path()) {
    entries_.try_emplace(parent.string(), std::nullopt);
  }
  entries_[path] = text;
}

bool Simulated_Disk::remove(const Path& path) {
  const std::string name = path.string();
  return act_(
      "remove", name, [&] { return remove_entry_(name); }, [](Process /*process*/) {});
}

void Simulated_Disk::remove(const std::vector<Path>& paths) {
  const auto remove_first = [&](std::size_t count) {
    for (const auto& path : paths) {
      if (count-- == 0) {
        break;
      }
      if (is_file_(path.string())) {
        entries_.erase(path.string());
      }
    }
    return true;
  };
  act_(
      "remove files", paths.empty() ? "" : paths.front().string(), [&] { return remove_first(paths.size()); },
      [&](Process /*process*/) { remove_first(paths.size() / 2); });
}

void Simulated_Disk::remove_all(const Path& path) {
  const std::string name = path.string();
  const auto remove_last = [&](std::vector<std::string> below, std::size_t count) {
    std::for_each(below.rbegin(), below.rbegin() + static_cast<std::ptrdiff_t>(count),
                  [this](const std::string& one) { entries_.erase(one); });
  };
  act_(
      "remove all", name,
      [&] {
        remove_last(below_(name), below_(name).size());
        entries_.erase(name);
        return true;
      },
      [&](Process /*process*/) { remove_last(below_(name), below_(name).size() / 2); });
}

bool Simulated_Disk::exists(const Path& path) {
  return ask_("exists", path.string()) && entries_.contains(path.string());
}

bool Simulated_Disk::is_empty(const Path& path) {
  return ask_("is empty", path.string()) && is_directory_(path.string()) && in_(path.string()).empty();
}

std::vector<velmora::Filesystem::Path> Simulated_Disk::list_files(const Path& directory,
                                                                  const std::string& extension) {
  std::vector<Path> found = list_entries(directory);
  std::erase_if(found,
                [&](const Path& path) { return path.extension() != extension || !is_file_(path.string()); });
  return found;
}

bool Simulated_Disk::copy_file(const Path& source, const Path& destination, int copy_option) {
  const std::string from = source.string();
  const std::string to = destination.string();
  return act_(
      "copy", from + " to " + to,
      [&] {
        const bool may_replace = copy_option == velmora::Copy_Option::OVERWRITE_EXISTING || !is_file_(to);
        return may_replace && is_file_(from) && replace_(to, text_of(from));
      },
      [&](Process process) { leave_temporary_file_(process, to, text_of(from)); });
}

std::size_t Simulated_Disk::copy_files(const std::vector<Path>& sources, const Path& directory,
                                       int /*copy_option*/) {
  std::size_t copied = 0;
  const auto copy_first = [&](std::size_t count) {
    for (const auto& source : sources) {
      if (count-- == 0) {
        break;
      }
      copied += is_file_(source.string()) &&
                        replace_((directory / source.filename()).string(), text_of(source.string()))
                    ? 1
                    : 0;
    }
    return true;
  };
  const bool is_done = act_(
      "copy files to", directory.string(), [&] { return copy_first(sources.size()); },
      [&](Process /*process*/) { copy_first(sources.size() / 2); });
  // The last one of those that are said to have failed has, and is in its place all the same.
  return is_done || copied < sources.size() ? copied : copied - 1;
}

std::string Simulated_Disk::read_file(const Path& path, int read_flag) {
  std::string text = ask_("read", path.string()) ? text_of(path.string()) : "";
  if (read_flag == velmora::Read_Flag::WITHOUT_LINE_END && text.ends_with('\n')) {
    text.pop_back();
  }
  return text;
}

bool Simulated_Disk::write_file(const Path& path, const std::string& contents, int /*write_flag*/) {
  const std::string name = path.string();
  return act_(
      "write", name, [&] { return replace_(name, contents); },
      [&](Process process) { leave_temporary_file_(process, name, contents); });
}

bool Simulated_Disk::create_directories(const Path& path) {
  const auto create = [this](Path one) {
    for (; !one.empty(); one = one.parent_path()) {
      entries_.try_emplace(one.string(), std::nullopt);
    }
    return true;
  };
  return act_(
      "create directories", path.string(), [&] { return create(path); },
      [&](Process /*process*/) { create(path.parent_path()); });
}

bool Simulated_Disk::files_equal(const Path& first, const Path& second) {
  return ask_("equal", first.string()) && is_file_(first.string()) && is_file_(second.string()) &&
         text_of(first.string()) == text_of(second.string());
}

File_Type Simulated_Disk::type_of(const Path& path) {
  if (!ask_("type of", path.string()) || !entries_.contains(path.string())) {
    return File_Type::NONE;
  }
  return is_directory_(path.string()) ? File_Type::DIRECTORY : File_Type::FILE;
}

std::vector<velmora::Filesystem::Path> Simulated_Disk::list_entries(const Path& directory) {
  if (!ask_("list", directory.string())) {
    return {};
  }
  const auto names = in_(directory.string());
  return {names.begin(), names.end()};
}

bool Simulated_Disk::move(const Path& from, const Path& to) {
  const std::string source = from.string();
  const std::string target = to.string();
  return act_(
      "move", source + " to " + target,
      [&] {
        if (!entries_.contains(source) || (is_directory_(target) && !below_(target).empty())) {
          return false;
        }
        auto names = below_(source);
        names.push_back(source);
        for (const auto& name : names) {
          entries_[target + name.substr(source.size())] = entries_.at(name);
          entries_.erase(name);
        }
        return true;
      },
      [](Process /*process*/) {});
}

bool Simulated_Disk::has_common_access(const Path& path) {
  ask_("access of", path.string());
  return true;
}

// True unless nothing is to be said any more.
bool Simulated_Disk::ask_(const char* what, const std::string& subject) {
  const auto fault = plan_->next(Call_Kind::QUESTION, what, subject);
  if (fault == Fault::THROWS) {
    throw std::system_error(std::make_error_code(std::errc::io_error), std::string(what) + " " + subject);
  }
  if (fault == Fault::KILL_BEFORE) {
    plan_->end_process();
  }
  return fault.has_value();
}

bool Simulated_Disk::act_(const char* what, const std::string& subject, const Act& whole, const Part& part) {
  const auto fault = plan_->next(Call_Kind::ACT, what, subject);
  if (!fault) {
    return false;
  }
  switch (*fault) {
    case Fault::NONE:
      return whole();
    case Fault::FAILS:
      return false;
    case Fault::FAILS_LATE:
      whole();
      return false;
    case Fault::IS_CUT_SHORT:
      part(Process::GOES_ON);
      return false;
    case Fault::KILL_DURING:
    case Fault::POWER_CUT_DURING:
      part(Process::ENDS);
      break;
    case Fault::KILL_AFTER:
    case Fault::POWER_CUT_AFTER:
      whole();
      break;
    case Fault::KILL_BEFORE:
    case Fault::POWER_CUT_BEFORE:
      break;
    default:
      throw std::runtime_error(std::string("Cannot ") + what + " " + subject);
  }
  if (*fault >= Fault::POWER_CUT_BEFORE) {
    on_power_cut_();
  }
  plan_->end_process();
}

bool Simulated_Disk::is_directory_(const std::string& path) const {
  const auto found = entries_.find(path);
  return found != entries_.end() && !found->second;
}

bool Simulated_Disk::is_file_(const std::string& path) const {
  const auto found = entries_.find(path);
  return found != entries_.end() && found->second;
}

bool Simulated_Disk::replace_(const std::string& path, const std::string& text) {
  if (is_directory_(path) || !is_directory_(Path(path).parent_path().string())) {
    return false;
  }
  entries_[path] = text;
  return true;
}

// A process that goes on removes it.
void Simulated_Disk::leave_temporary_file_(Process process, const std::string& path,
                                           const std::string& text) {
  if (process == Process::GOES_ON) {
    return;
  }
  const Path destination = path;
  const std::string name =
      "." + destination.filename().string() + ".a1B2c3" + File_Service::TEMPORARY_EXTENSION;
  replace_((destination.parent_path() / name).string(), text.substr(0, text.size() / 2));
}

bool Simulated_Disk::remove_entry_(const std::string& path) {
  return (is_file_(path) || in_(path).empty()) && entries_.erase(path) == 1;
}

std::vector<std::string> Simulated_Disk::below_(const std::string& directory) const {
  std::vector<std::string> names;
  const std::string prefix = directory + "/";
  for (auto one = entries_.lower_bound(prefix); one != entries_.end() && one->first.starts_with(prefix);
       ++one) {
    names.push_back(one->first);
  }
  return names;
}

std::vector<std::string> Simulated_Disk::in_(const std::string& directory) const {
  auto names = below_(directory);
  std::erase_if(names, [&](const std::string& name) {
    return name.find('/', directory.size() + 1) != std::string::npos;
  });
  return names;
}

}  // namespace zant::velmora_host::faults
