#include "exit_status.h"

#include <string>

namespace orvdb {

int ExitCode(const orvx::Status& status) {
  switch (status.code) {
    case orvx::Status::None: return 0;
    case orvx::Status::NoStore: return 3;
    case orvx::Status::BadStore: return 4;
    case orvx::Status::WrongType: return 5;
    case orvx::Status::EmptyValue: return 6;
    case orvx::Status::ValueTooLarge: return 7;
    default: return 2;
  }
}

int Report(const orvx::Status& status, std::ostream& err) {
  std::string line = status.message.empty() ? orvx::StatusName(status.code) : status.message;
  // A name with a line break in it must not make two lines of one failure.
  for (std::size_t at = 0; (at = line.find_first_of("\r\n", at)) != std::string::npos; at += 2)
    line.replace(at, 1, line[at] == '\n' ? "\\n" : "\\r");
  err << "orvdb: " << line << "\n";
  return ExitCode(status);
}

}  // namespace orvdb
