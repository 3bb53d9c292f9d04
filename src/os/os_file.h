// The system calls under CFile and the library's own file I/O, one
// implementation per platform. The seam sits below the framework emulation:
// it speaks in its own terms, which CFile maps its flags to.
#pragma once

#include <cstdint>
#include <string>

#include "orvx/status.h"

namespace orvx::os {

using FileHandle = std::intptr_t;
constexpr FileHandle kNoFile = -1;

// Each call that can fail returns the library's error: its code says what
// kind of failure (NotFound, NotRegular, DiskFull, Io), `osError` holds the
// system's error code and `message` the system's text for it. Callers add
// the path and what they were doing.

// What an open of anything but a regular file answers, on every platform.
inline Status NotRegularFile(int osError = 0) {
  return {Status::NotRegular, "not a regular file (a directory, a device, a FIFO or a socket)", osError};
}

// How a file is opened.
struct OpenMode {
  enum Access : std::uint8_t { Read, Write, ReadWrite } access = Read;
  // What other openers may do meanwhile; only Windows enforces it.
  enum Share : std::uint8_t { DenyAll, DenyWrite, DenyRead, DenyNone } share = DenyAll;
  // Create: a missing file is created, an existing one emptied; CreateOrKeep
  // keeps its content.
  enum Creation : std::uint8_t { Existing, Create, CreateOrKeep } create = Existing;
};

// Opens the regular file `name` into `file`. Anything that is not a regular
// file is refused at once (NotRegular), without waiting for a FIFO's other
// end or a device.
Status OpenFile(const char* name, OpenMode mode, FileHandle& file);
// Reads up to `count` bytes; `got` is 0 at the end of the file.
Status ReadSome(FileHandle file, void* buffer, std::uint32_t count, std::uint64_t& got);
// Writes up to `count` bytes; `put` says how many.
Status WriteSome(FileHandle file, const void* buffer, std::uint32_t count, std::uint64_t& put);
// Length of a regular file, or UINT64_MAX.
std::uint64_t FileLength(FileHandle file);
// A file that cannot be synced is not an error.
Status FlushFile(FileHandle file);
void CloseFile(FileHandle file);
// Creates `name`, which must not exist yet, for writing.
Status CreateNewFile(const char* name, FileHandle& file);
// Renames `from` over `to` in one step.
Status RenameOver(const char* from, const char* to);
// Makes the entries of `dir` durable, where the platform needs that.
Status SyncDirectory(const char* dir);

// What tells one state of a file's content from another.
struct FileStamp {
  bool regular = false;
  std::uint64_t device = 0, inode = 0, size = 0;
  std::int64_t modified = 0;  // nanoseconds since 1970
  std::int64_t changed = 0;   // the last change of content or metadata (a rename, a link), nanoseconds since 1970
  bool operator==(const FileStamp&) const = default;
};
FileStamp Stamp(FileHandle file);
// The same for a path, without opening it (links followed); a stamp that
// matches nothing where the platform cannot tell without opening.
FileStamp StampPath(const char* name);
// The stamp of the regular file `name` names (links followed), read without
// opening it where the platform can (POSIX: one stat). Fails as OpenFile does
// on a missing path and on anything but a regular file.
Status StatPath(const char* name, FileStamp& stamp);
// Waits for an exclusive advisory lock on `file`. Closing the file releases it.
Status LockExclusive(FileHandle file);
// The system's text for its error code.
std::string ErrorText(int osError);
std::uint64_t CurrentProcessId();
// False only when no process `pid` exists (one we may not signal still does).
bool ProcessExists(std::uint64_t pid);
// The error of a call on a file that is not open.
Status BadHandle();

}  // namespace orvx::os
