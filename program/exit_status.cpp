#include <program/exit_status.hpp>

namespace zant::program::Exit_Status {

int of(velmora_host::Refusal_Reason reason) {
  using velmora_host::Refusal_Reason;
  switch (reason) {
    case Refusal_Reason::UNSUPPORTED_HOST:
      return UNSUPPORTED_HOST;
    case Refusal_Reason::BUSY:
      return BUSY;
    case Refusal_Reason::NO_RIGHTS:
      return NO_RIGHTS;
    case Refusal_Reason::BAD_SETTINGS:
      return BAD_SETTINGS;
  }
  return FAILED;
}

const char* code_of(int exit_status) {
  switch (exit_status) {
    case WRONG_USAGE:
      return "wrong_usage";
    case UNSUPPORTED_HOST:
      return "unsupported_host";
    case BUSY:
      return "busy";
    case NO_RIGHTS:
      return "no_rights";
    case BAD_SETTINGS:
      return "bad_settings";
    default:
      return "failed";
  }
}

}  // namespace zant::program::Exit_Status
