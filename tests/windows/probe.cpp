// A program for the tests of the command service: shows what arrives at a command, and behaves as it is told.
//
//   probe arguments [ARGUMENT]...   prints each in brackets
//   probe streams                   prints to both streams in turn
//   probe input                     prints how many bytes of standard input there were
//   probe exit CODE
//   probe bytes COUNT               prints so many of them
//   probe raw CODE                  prints the byte of that number
//   probe hold EVENT FILE           writes its process id to the file and waits for the event
//   probe parent EVENT FILE         starts a "probe hold", and waits for its end

#include "stand_in.hpp"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int print_streams() {
  for (int line = 1; line <= 3; ++line) {
    std::cout << "out " << line << std::endl;
    std::cerr << "err " << line << std::endl;
  }
  return 0;
}

int count_input() {
  std::size_t count = 0;
  while (std::getchar() != EOF) {
    ++count;
  }
  std::cout << count;
  return 0;
}

int hold(const std::string& event_name, const std::string& file) {
  const HANDLE event = ::CreateEventA(nullptr, TRUE, FALSE, event_name.c_str());
  const std::string unfinished = file + ".new";
  stand_in::State_File(unfinished).append(std::to_string(::GetCurrentProcessId()));
  std::filesystem::rename(unfinished, file);
  return ::WaitForSingleObject(event, INFINITE) == WAIT_OBJECT_0 ? 0 : 1;
}

int start_holder(const std::string& program, const std::string& event, const std::string& file) {
  return std::system(("\"\"" + program + "\" hold " + event + " \"" + file + "\"\"").c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const stand_in::Lines arguments(argv + 2, argv + argc);
  const std::string command = argv[1];
  if (command == "arguments") {
    std::cout << stand_in::in_brackets(arguments);
    return 0;
  }
  if (command == "streams") {
    return print_streams();
  }
  if (command == "input") {
    return count_input();
  }
  if (command == "exit") {
    return static_cast<int>(std::stoll(arguments.at(0)));
  }
  if (command == "bytes") {
    std::cout << std::string(std::stoul(arguments.at(0)), 'x');
    return 0;
  }
  if (command == "raw") {
    std::cout << static_cast<char>(std::stoi(arguments.at(0)));
    return 0;
  }
  if (command == "hold") {
    return hold(arguments.at(0), arguments.at(1));
  }
  return start_holder(argv[0], arguments.at(0), arguments.at(1));
}
