// The one shape of failure inside the library and its tools. The public
// interfaces the host expects turn it into their own (BOOL, LONG, an
// exception, an orvx_error) where they return.
#pragma once

#include <string>

namespace orvx {

struct Error {
  std::string message;  // what failed and why, naming the file or input; empty: nothing failed
  int osError = 0;      // the system's error code, when the system refused
  long long where = 0;  // line (text files) or byte (binary data) of the fault; 0: none

  bool Failed() const { return !message.empty(); }
};

}  // namespace orvx
