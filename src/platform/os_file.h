// The system calls under CFile, one implementation per platform.
#pragma once

#include <cstdint>
#include <string>

#include "orvx/afx_types.h"

namespace orvx::os {

using FileHandle = std::intptr_t;
constexpr FileHandle kNoFile = -1;

// The error code of an open that found no regular file (a directory, a
// device, a FIFO or a socket); ErrorText says so.
constexpr int kNotRegularFile = -2;

// Opens the regular file `name` with CFile's open flags. On failure returns
// kNoFile, with the CFileException cause and the system's error code. Anything
// else is refused at once (kNotRegularFile), without waiting for a FIFO's
// other end or a device.
FileHandle OpenFile(const char* name, UINT openFlags, int& cause, int& osError);
// Bytes read (0 at the end of the file), or -1 with `osError` set.
std::int64_t ReadSome(FileHandle file, void* buffer, UINT count, int& osError);
// Bytes written, or -1 with `osError` set.
std::int64_t WriteSome(FileHandle file, const void* buffer, UINT count, int& osError);
// Length of a regular file, or UINT64_MAX.
std::uint64_t FileLength(FileHandle file);
// 0, or the system's error code; a file that cannot be synced is not an error.
int FlushFile(FileHandle file);
void CloseFile(FileHandle file);
// Creates `name`, which must not exist yet, for writing.
FileHandle CreateNewFile(const char* name, int& osError);
// Renames `from` over `to` in one step; 0 or the system's error code.
int RenameOver(const char* from, const char* to);
// Makes the entries of `dir` durable, where the platform needs that; 0 or
// the system's error code.
int SyncDirectory(const char* dir);
// What tells one state of a file's content from another.
struct FileStamp {
  bool regular = false;
  std::uint64_t device = 0, inode = 0, size = 0;
  std::int64_t modified = 0;  // nanoseconds
  bool operator==(const FileStamp&) const = default;
};
FileStamp Stamp(FileHandle file);
// The same for a path, without opening it (links followed); a stamp that
// matches nothing where the platform cannot tell without opening.
FileStamp StampPath(const char* name);
// Waits for an exclusive advisory lock on `file`; 0 or the system's error
// code. Closing the file releases it.
int LockExclusive(FileHandle file);
std::string ErrorText(int osError);  // kNotRegularFile too
std::uint64_t CurrentProcessId();
// False only when no process `pid` exists (one we may not signal still does).
bool ProcessExists(std::uint64_t pid);
bool IsDiskFull(int osError);
int BadHandleError();

}  // namespace orvx::os
