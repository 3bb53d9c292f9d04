// Opening and reading the library's own files whole: anything that is not a
// regular file is refused at once (a FIFO would block, a device never ends),
// and nothing larger than its format allows is read. Also where a failure
// gets its words.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "orvx/status.h"
#include "os/os_file.h"

namespace orvx::detail {

// `error`, from the OS seam or a CFile, said of `path` while `doing` (e.g.
// "cannot read"): one wording per failure, whoever met it.
Status About(const std::string& path, std::string_view doing, Status error);
// A file larger than `limit`, the most a file of its kind can hold.
Status TooLarge(const std::string& path, std::uint64_t limit);

// Opens `path` for reading. Fails, naming the path, when it is missing, is
// no regular file, or cannot be opened.
Status OpenForReading(const std::string& path, os::FileHandle& file);
// Reads the open `file` whole into `bytes`; a file longer than `limit` is
// refused before anything is read (and one that grows past it while read).
Status ReadOpenFile(const std::string& path, os::FileHandle file, std::uint64_t limit, std::string& bytes);
// The file `path` names once its symbolic links are followed (`path` itself
// when it is no link, or names nothing yet). Fails on a loop.
Status ResolveLinks(const std::string& path, std::string& target);

}  // namespace orvx::detail
