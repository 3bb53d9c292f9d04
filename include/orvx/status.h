// The one shape of failure inside the library and its tools: the OS seam,
// the loaders, the registry store, the size-list reader and the whole-file
// reader return it. The interfaces the host, a C caller and the tool's user
// see turn it into their own (BOOL, LONG, an exception, an orvx_status, an
// exit code) where they return, and only there.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace orvx {

struct Status {
  enum Code : std::uint8_t {
    None,
    NotFound,    // nothing at the path
    NotRegular,  // a directory, a device, a FIFO or a socket where a regular file belongs
    TooLarge,    // more than a file of its kind can hold
    Sharing,     // open elsewhere in a mode that shares nothing
    DiskFull,
    Io,        // any other refusal of the system
    Format,    // damaged or malformed data: `where` says where
    Memory,
    Argument,  // a path or name no file or key can have (a zero byte, a line break)
  };

  Status() = default;
  Status(Code c, std::string text, int system = 0, long long at = 0)
      : code(c), message(std::move(text)), osError(system), where(at) {}

  Code code = None;
  std::string message;  // what failed and why, naming the file or input
  int osError = 0;      // the system's error code, when the system refused
  long long where = 0;  // line (text files) or byte (binary data) of the fault; 0: none

  bool Failed() const { return code != None; }
};

}  // namespace orvx
