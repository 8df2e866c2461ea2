// Stands in for Windows' schtasks.exe, with as much of its behaviour as this project relies on. Keeps
// tasks.txt ("NAME|ACCOUNT|PROGRAM LINE|SCHEDULE"), disabled.txt ("NAME") and results.txt ("NAME|RESULT", of
// the last run; a task without one has not run).

#include "stand_in.hpp"

#include <algorithm>

using namespace stand_in;

namespace {

constexpr int DONE = 0;
constexpr int FAILED = 1;
constexpr std::size_t LONGEST_PROGRAM_LINE = 261;
constexpr const char* HAS_NOT_RUN = "267011";

int fail(const std::string& message) {
  std::cerr << "ERROR: " << message << "\r\n";
  return FAILED;
}

class Schtasks {
 public:
  Schtasks(const std::filesystem::path& directory, const Lines& arguments)
      : tasks_(directory / "tasks.txt"),
        disabled_(directory / "disabled.txt"),
        results_(directory / "results.txt"),
        arguments_(arguments) {}

  int run() const {
    if (has("/QUERY")) {
      return query();
    }
    if (has("/CREATE")) {
      return create();
    }
    if (has("/DELETE")) {
      return remove();
    }
    if (has("/CHANGE") && has("/ENABLE")) {
      return enable();
    }
    return fail("Invalid syntax.");
  }

 private:
  bool has(const std::string& option) const {
    return std::find(arguments_.begin(), arguments_.end(), option) != arguments_.end();
  }

  std::string value(const std::string& option) const {
    const auto found = std::find(arguments_.begin(), arguments_.end(), option);
    return found == arguments_.end() || found + 1 == arguments_.end() ? "" : *(found + 1);
  }

  // Where the task stands in the list, or the list's end.
  Lines::iterator find(Lines& tasks) const {
    const std::string beginning = value("/TN") + "|";
    return std::find_if(tasks.begin(), tasks.end(),
                        [&beginning](const auto& task) { return task.starts_with(beginning); });
  }

  int query() const {
    Lines tasks = tasks_.read();
    if (find(tasks) == tasks.end()) {
      return fail("The system cannot find the file specified.");
    }
    if (has("/XML")) {
      print_xml();
    } else if (value("/FO") == "CSV") {
      print_row();
    } else {
      std::cout << value("/TN") << " Ready\r\n";
    }
    return DONE;
  }

  bool is_disabled() const {
    const Lines names = disabled_.read();
    return std::find(names.begin(), names.end(), value("/TN")) != names.end();
  }

  std::string last_result() const {
    const std::string beginning = value("/TN") + "|";
    for (const auto& line : results_.read()) {
      if (line.starts_with(beginning)) {
        return line.substr(beginning.size());
      }
    }
    return HAS_NOT_RUN;
  }

  void print_xml() const {
    std::cout << "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<Task version=\"1.2\">\r\n  <Triggers>\r\n"
                 "    <CalendarTrigger>\r\n      <Enabled>true</Enabled>\r\n    </CalendarTrigger>\r\n"
                 "  </Triggers>\r\n  <Settings>\r\n    <Enabled>"
              << (is_disabled() ? "false" : "true") << "</Enabled>\r\n  </Settings>\r\n</Task>\r\n";
  }

  // The columns that matter, and as many before and after them as there are.
  void print_row() const {
    std::cout << "\"HOST\",\"\\" << value("/TN") << "\",\"29.11.2026 01:00:00\",\""
              << (is_disabled() ? "Disabled" : "Ready")
              << "\",\"Interactive/Background\",\"22.11.2026 01:00:00\",\"" << last_result()
              << "\",\"N/A\"\r\n";
  }

  int enable() const {
    Lines names = disabled_.read();
    std::erase(names, value("/TN"));
    disabled_.write(names);
    std::cout << "SUCCESS: The parameters of scheduled task \"" << value("/TN")
              << "\" have been changed.\r\n";
    return DONE;
  }

  int create() const {
    if (value("/SC").empty()) {
      return fail("Invalid syntax. Mandatory option 'sc' is missing.");
    }
    if (value("/TR").size() > LONGEST_PROGRAM_LINE) {
      return fail("Invalid syntax. Value for '/TR' option cannot be more than 261 character(s).");
    }
    Lines tasks = tasks_.read();
    const auto earlier = find(tasks);
    if (earlier != tasks.end()) {
      if (!has("/F")) {
        return fail("The task exists already.");
      }
      tasks.erase(earlier);
    }
    const auto schedule = std::find(arguments_.begin(), arguments_.end(), "/TR") + 2;
    tasks.push_back(value("/TN") + "|" + value("/RU") + "|" + value("/TR") + "|" +
                    in_brackets(Lines(schedule, arguments_.end())));
    tasks_.write(tasks);
    std::cout << "SUCCESS: The scheduled task \"" << value("/TN") << "\" has successfully been created.\r\n";
    return DONE;
  }

  int remove() const {
    Lines tasks = tasks_.read();
    const auto task = find(tasks);
    if (task == tasks.end()) {
      return fail("The system cannot find the file specified.");
    }
    tasks.erase(task);
    tasks_.write(tasks);
    std::cout << "SUCCESS: The scheduled task \"" << value("/TN") << "\" was successfully deleted.\r\n";
    return DONE;
  }

  State_File tasks_;
  State_File disabled_;
  State_File results_;
  Lines arguments_;
};

}  // namespace

int main(int argc, char** argv) {
  const Lines arguments(argv + 1, argv + argc);
  const auto directory = own_directory();
  return note_call(directory, arguments) ? fail("Access is denied.") : Schtasks(directory, arguments).run();
}
