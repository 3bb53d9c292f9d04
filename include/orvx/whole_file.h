// Reading and writing whole files safely, for the library's own files and for tools.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "orvx/export.h"
#include "orvx/status.h"

namespace orvx {

// The most a file of each kind may hold: a model database (its offsets and
// counts are 32-bit signed) and a registry store file.
inline constexpr std::uint64_t kDatabaseFileMax = std::uint64_t{2} << 30;
inline constexpr std::uint64_t kStoreFileMax = std::uint64_t{256} << 20;

// Reads the regular file `path` whole into `bytes`. A missing or unreadable
// file, a directory, a FIFO (which would block) or a device fail at once with
// a message that names the path, and so does a file larger than `limit`,
// before anything is read; `bytes` is then empty.
ORVX_API Status ReadWholeFile(const std::string& path, std::string& bytes, std::uint64_t limit = kDatabaseFileMax);

// What tells one file from another, whatever path names it: the device and
// inode (on Windows the volume and the file index).
struct FileIdentity {
  std::uint64_t device = 0, inode = 0;
  bool operator==(const FileIdentity&) const = default;
};

// Which file a path names and how it last changed: a content rewritten in
// place or replaced at the path gives another state, unless it comes within
// the file system's timestamp tick of the last change (same size, same times).
struct FileState {
  FileIdentity identity;
  std::uint64_t size = 0;
  std::int64_t modified = 0, changed = 0;  // nanoseconds since 1970: content, and content or metadata
  bool operator==(const FileState&) const = default;
};
// The state of the regular file `path` names, links followed, from one stat
// of the path on POSIX (Windows opens it for its attributes only). It fails
// as ReadWholeFile does, and on a path that holds a zero byte.
ORVX_API Status StatFile(const std::string& path, FileState& state);

// Makes `path` hold exactly `bytes`. A new file is created; an existing
// regular file is replaced and keeps its permissions; a symbolic link has the
// file it points to written and stays a link. A directory, a device, a FIFO
// or any other special file is refused. The bytes go to a temporary file
// beside the target, which is flushed and then renamed over it, so a failure
// at any step leaves the old file as it was and no temporary file behind.
// A failure's message names the path and the problem. (Not ReplaceFile:
// <windows.h> makes that name a macro.)
ORVX_API Status ReplaceWholeFile(const std::string& path, std::string_view bytes);

}  // namespace orvx
