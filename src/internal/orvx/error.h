// The one shape of failure inside the library and its tools. The public
// interfaces the host expects turn it into their own (BOOL, LONG, an
// exception, an orvx_error) where they return.
#pragma once

#include <cstdint>
#include <string>

namespace orvx {

struct Error {
  enum Code : std::uint8_t { None, Io, Format, Memory };
  std::string message;  // what failed and why, naming the file or input
  int osError = 0;      // the system's error code, when the system refused
  long long where = 0;  // line (text files) or byte (binary data) of the fault; 0: none
  Code code = None;     // set by every failure that a caller tells apart from others

  bool Failed() const { return code != None || !message.empty(); }
};

}  // namespace orvx
