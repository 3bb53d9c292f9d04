// The one shape of failure inside the library and its tools: the OS seam,
// the loaders, the registry and COM stores, the size-list reader and the
// whole-file reader return it. The interfaces the host, a C caller and the
// tool's user see turn it into their own (BOOL, LONG, an exception, an
// orvx_status, an exit code) where they return, and only there.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace orvx {

struct Status {
  // Codes are only ever appended: the C interface and the tool map each one.
  enum Code : std::uint8_t {
    None,
    NotFound,    // nothing at the path, or no such registry key or value
    NotRegular,  // a directory, a device, a FIFO or a socket where a regular file belongs
    TooLarge,    // more than a file of its kind can hold
    Sharing,     // open elsewhere in a mode that shares nothing
    DiskFull,
    Io,        // any other refusal of the system
    Format,    // damaged or malformed data: `where` says where
    Memory,
    Argument,  // a path or name no file or key can have (a zero byte, a line break), or a value out of range
    NoStore,        // the registry store file is missing
    BadStore,       // the registry store file is malformed: `where` is its line
    WrongType,      // a stored value of another type than the one asked for
    EmptyValue,     // a stored value that holds nothing
    ValueTooLarge,  // a stored value larger than the room for it
    Registry,       // the registry refused, for a reason with no code of its own
    Unsupported,    // not available on this platform
  };
  static constexpr int kCodes = Unsupported + 1;

  Status() = default;
  Status(Code c, std::string text, int system = 0, long long at = 0)
      : code(c), message(std::move(text)), osError(system), where(at) {}

  Code code = None;
  std::string message;  // what failed and why, naming the file or input
  int osError = 0;      // the system's error code when the system refused; a registry call's LONG result
  long long where = 0;  // line (text files) or byte (binary data) of the fault; 0: none

  bool Failed() const { return code != None; }
};

// The code's fixed text, the same whatever failed ("not found"); the message
// says the rest.
constexpr const char* StatusName(Status::Code code) {
  switch (code) {
    case Status::None: return "success";
    case Status::NotFound: return "not found";
    case Status::NotRegular: return "not a regular file";
    case Status::TooLarge: return "file too large";
    case Status::Sharing: return "sharing violation";
    case Status::DiskFull: return "disk full";
    case Status::Io: return "input/output error";
    case Status::Format: return "malformed data";
    case Status::Memory: return "out of memory";
    case Status::Argument: return "invalid argument";
    case Status::NoStore: return "no registry store";
    case Status::BadStore: return "malformed registry store";
    case Status::WrongType: return "wrong value type";
    case Status::EmptyValue: return "empty value";
    case Status::ValueTooLarge: return "value too large";
    case Status::Registry: return "registry error";
    case Status::Unsupported: return "not supported";
  }
  return "unknown status";
}

// A value, or the Status of why there is none.
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}
  // `failure` must have failed: a result holds a value or a reason.
  Result(Status failure) : status_(std::move(failure)) {
    if (!status_.Failed()) status_ = {Status::Argument, "a result with neither a value nor a failure"};
  }

  bool ok() const { return value_.has_value(); }
  explicit operator bool() const { return ok(); }
  // None when there is a value.
  const Status& status() const& { return status_; }
  Status&& status() && { return std::move(status_); }
  // Only when ok().
  T& value() & { return *value_; }
  const T& value() const& { return *value_; }
  T&& value() && { return std::move(*value_); }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

 private:
  Status status_;
  std::optional<T> value_;
};

}  // namespace orvx
