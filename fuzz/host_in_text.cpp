#include <fuzz/host_in_text.hpp>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

namespace zant::velmora_host {
namespace {

constexpr const char* MARK = "%% ";
constexpr int NOT_FOUND = 127;

class Answering_System : public velmora::System {
 public:
  struct Answer {
    std::string words;  ///< of the command line
    velmora::Command_Result result;
  };

  explicit Answering_System(std::vector<Answer> answers) : answers_(std::move(answers)) {}

  velmora::Command_Result run_command(const std::string& command, bool /*flag*/) override {
    const auto found = std::find_if(answers_.begin(), answers_.end(), [&command](const Answer& answer) {
      return command.find(answer.words) != std::string::npos;
    });
    return found == answers_.end() ? velmora::Command_Result{"", NOT_FOUND} : found->result;
  }

 private:
  std::vector<Answer> answers_;
};

// "1 systemctl show"; a head without a number is that of a success.
Answering_System::Answer answer_of(const std::string& head, const std::string& body) {
  const std::size_t digits = std::min(head.find_first_not_of("0123456789"), head.size());
  const int exit_code = digits == 0 || digits > 3 ? 0 : std::stoi(head.substr(0, digits));
  const std::size_t begin = head.find_first_not_of(' ', digits);
  return {begin == std::string::npos ? "" : head.substr(begin), {body, exit_code}};
}

bool is_name_of_file(const std::string& head) {
  return head.size() > 1 && head.front() == '/' && head.find('\0') == std::string::npos &&
         boost::filesystem::path(head).lexically_normal() == head;
}

}  // namespace

Host_In_Text::Host_In_Text(const std::string& text, const std::string& base) {
  std::vector<Answering_System::Answer> answers;
  for (const auto& part_text : {text, base}) {
    for (const auto& part : parts_of(part_text)) {
      if (part.head.starts_with('/')) {
        add_file_(part);
      } else if (auto answer = answer_of(part.head, part.body); !answer.words.empty()) {
        answers.push_back(std::move(answer));
      }
    }
  }
  services = {std::make_shared<Answering_System>(std::move(answers)), files_};
}

std::vector<Host_In_Text::Part> Host_In_Text::parts_of(const std::string& text) {
  const std::string mark = std::string("\n") + MARK;
  const std::string marked = "\n" + text;
  std::vector<Part> parts;
  std::size_t begin = marked.find(mark);
  while (begin != std::string::npos) {
    begin += mark.size();
    const std::size_t next = marked.find(mark, begin);
    const std::size_t size = next == std::string::npos ? std::string::npos : next + 1 - begin;
    const std::string part = marked.substr(begin, size);
    const std::size_t end_of_head = std::min(part.find('\n'), part.size());
    parts.push_back({part.substr(0, end_of_head), part.substr(std::min(end_of_head + 1, part.size()))});
    begin = next;
  }
  return parts;
}

void Host_In_Text::add_file_(const Part& part) {
  auto& files = files_->fake();
  if (!is_name_of_file(part.head) || files.has(part.head)) {
    return;
  }
  for (auto above = boost::filesystem::path(part.head).parent_path(); above.has_parent_path();
       above = above.parent_path()) {
    if (files.has(above) && !files.has_directory(above)) {
      return;
    }
  }
  files.add_file(part.head, part.body);
}

std::string text_of_file(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace zant::velmora_host
