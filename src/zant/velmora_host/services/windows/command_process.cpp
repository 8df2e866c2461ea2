#include <zant/velmora_host/services/windows/command_process.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <boost/nowide/convert.hpp>

#include <algorithm>
#include <atomic>
#include <vector>

namespace zant::velmora_host {
namespace {

using Clock = Command_Process::Clock;

constexpr DWORD PIPE_CAPACITY = 64 * 1024;

std::wstring system_directory() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(::GetSystemDirectoryW(path.data(), MAX_PATH));
  return path;
}

// cmd.exe looks for programs in its working directory first: one that only the administrator can write to.
std::wstring working_directory() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(::GetSystemWindowsDirectoryW(path.data(), MAX_PATH));
  return path;
}

// /d: no commands that the registry would run first. /s with quotes around the whole: cmd.exe takes exactly
// these two away and leaves those inside alone, whatever blanks and parentheses there are.
std::wstring command_line(const std::string& command) {
  return L"cmd.exe /d /s /c \"" + boost::nowide::widen(command) + L"\"";
}

SECURITY_ATTRIBUTES inheritable() {
  return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

// Only named pipes can be read without blocking.
std::wstring new_pipe_name() {
  static std::atomic<unsigned> count{0};
  return L"\\\\.\\pipe\\package-minder-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
         std::to_wstring(++count);
}

Handle make_pipe(const std::wstring& name) {
  Handle pipe(::CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
      PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, PIPE_CAPACITY, 0, nullptr));
  if (!pipe.is_open()) {
    throw_win32_error("cannot create a pipe");
  }
  return pipe;
}

Handle open_for_child(const std::wstring& name, DWORD access) {
  SECURITY_ATTRIBUTES attributes = inheritable();
  Handle file(::CreateFileW(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes,
                            OPEN_EXISTING, 0, nullptr));
  if (!file.is_open()) {
    throw_win32_error("cannot open a stream for the command");
  }
  return file;
}

Handle make_job() {
  Handle job(::CreateJobObjectW(nullptr, nullptr));
  if (!job.is_open()) {
    throw_win32_error("cannot create a job");
  }
  return job;
}

// The list of handles that a child inherits. Without it, every command would inherit the streams of those
// that other threads start at the same time, and keep them open.
class Inherited_Handles {
 public:
  explicit Inherited_Handles(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    storage_.resize(size);
    if (::InitializeProcThreadAttributeList(list(), 1, 0, &size) == FALSE) {
      throw_win32_error("cannot list the handles of the command");
    }
    if (::UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                    handles_.size() * sizeof(HANDLE), nullptr, nullptr) == FALSE) {
      const DWORD code = ::GetLastError();
      ::DeleteProcThreadAttributeList(list());
      throw_win32_error("cannot list the handles of the command", code);
    }
  }
  ~Inherited_Handles() { ::DeleteProcThreadAttributeList(list()); }
  Inherited_Handles(const Inherited_Handles&) = delete;
  Inherited_Handles& operator=(const Inherited_Handles&) = delete;

  LPPROC_THREAD_ATTRIBUTE_LIST list() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(storage_.data());
  }

 private:
  std::vector<HANDLE> handles_;
  std::vector<std::byte> storage_;
};

// Starts it inside the job: suspended, so that nothing it starts can get away.
Handle start(const std::string& command, const std::wstring& environment, const Handle& input,
             const Handle& output, const Handle& job) {
  Inherited_Handles inherited({input.get(), output.get()});
  STARTUPINFOEXW startup = {};
  startup.StartupInfo.cb = sizeof(startup);
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input.get();
  startup.StartupInfo.hStdOutput = output.get();
  startup.StartupInfo.hStdError = output.get();
  startup.lpAttributeList = inherited.list();

  const std::wstring shell = system_directory() + L"\\cmd.exe";
  const std::wstring directory = working_directory();
  std::wstring line = command_line(command);
  PROCESS_INFORMATION information = {};
  if (::CreateProcessW(
          shell.c_str(), line.data(), nullptr, nullptr, TRUE,
          CREATE_NO_WINDOW | CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT,
          const_cast<wchar_t*>(environment.data()), directory.c_str(), &startup.StartupInfo,
          &information) == FALSE) {
    throw_win32_error("cannot start cmd.exe");
  }
  Handle process(information.hProcess);
  const Handle thread(information.hThread);
  if (::AssignProcessToJobObject(job.get(), process.get()) == FALSE ||
      ::ResumeThread(thread.get()) == static_cast<DWORD>(-1)) {
    const DWORD code = ::GetLastError();
    ::TerminateProcess(process.get(), 1);
    throw_win32_error("cannot put the command into a job", code);
  }
  return process;
}

DWORD milliseconds_until(Clock::time_point deadline) {
  using std::chrono::milliseconds;
  const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
  return static_cast<DWORD>(std::clamp(left, milliseconds(0), milliseconds(INFINITE - 1)).count());
}

}  // namespace

Command_Process::Command_Process(const std::string& command, const std::wstring& environment,
                                 std::size_t output_limit)
    : output_limit_(output_limit),
      job_(make_job()),
      data_event_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  const std::wstring pipe_name = new_pipe_name();
  pipe_ = make_pipe(pipe_name);
  const Handle output = open_for_child(pipe_name, GENERIC_WRITE);
  const Handle input = open_for_child(L"NUL", GENERIC_READ);
  process_ = start(command, environment, input, output, job_);
  reading_.hEvent = data_event_.get();
  start_reading_();
}

Command_Process::~Command_Process() {
  if (is_reading_) {
    ::CancelIoEx(pipe_.get(), &reading_);
    finish_reading_(true);
  }
}

bool Command_Process::run_until(Clock::time_point deadline) {
  while (true) {
    const std::array<HANDLE, 2> events = {process_.get(), data_event_.get()};
    const DWORD count = is_reading_ ? 2 : 1;
    switch (::WaitForMultipleObjects(count, events.data(), FALSE, milliseconds_until(deadline))) {
      case WAIT_OBJECT_0:
        drain_();
        return true;
      case WAIT_OBJECT_0 + 1:
        if (finish_reading_(false)) {
          start_reading_();
        }
        break;
      case WAIT_TIMEOUT:
        return false;
      default:
        throw_win32_error("cannot wait for the command");
    }
  }
}

void Command_Process::run_to_end() {
  // One wait is limited to weeks.
  while (!run_until(Clock::time_point::max())) {
  }
}

void Command_Process::end_tree() {
  ::TerminateJobObject(job_.get(), 1);
  ::WaitForSingleObject(process_.get(), INFINITE);
}

int Command_Process::exit_code() const {
  DWORD code = 0;
  if (::GetExitCodeProcess(process_.get(), &code) == FALSE) {
    throw_win32_error("cannot learn how the command ended");
  }
  return static_cast<int>(code);
}

void Command_Process::start_reading_() {
  const BOOL is_done =
      ::ReadFile(pipe_.get(), buffer_.data(), static_cast<DWORD>(buffer_.size()), nullptr, &reading_);
  // Otherwise everybody has closed the other side.
  is_reading_ = is_done != FALSE || ::GetLastError() == ERROR_IO_PENDING;
}

// False when nothing has come, or nothing will any more.
bool Command_Process::finish_reading_(bool wait) {
  DWORD size = 0;
  const BOOL has_data = ::GetOverlappedResult(pipe_.get(), &reading_, &size, wait ? TRUE : FALSE);
  if (has_data == FALSE && ::GetLastError() == ERROR_IO_INCOMPLETE) {
    return false;
  }
  is_reading_ = false;
  append_(buffer_.data(), size);
  return has_data != FALSE;
}

// What the command wrote before its end is in the pipe. Something that it left behind may go on writing, and
// is not waited for.
void Command_Process::drain_() {
  for (std::size_t taken = 0; is_reading_ && taken <= PIPE_CAPACITY; taken += buffer_.size()) {
    if (!finish_reading_(false)) {
      return;
    }
    start_reading_();
  }
}

void Command_Process::append_(const char* data, std::size_t size) {
  const std::size_t room = output_limit_ - output_.size();
  output_.append(data, std::min(size, room));
  is_truncated_ = is_truncated_ || size > room;
}

}  // namespace zant::velmora_host
