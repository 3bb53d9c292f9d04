// Opening and reading the library's own files whole: anything that is not a
// regular file is refused at once (a FIFO would block, a device never ends),
// and nothing larger than its format allows is read.
#pragma once

#include <cstdint>
#include <string>

#include "orvx/error.h"
#include "os_file.h"

namespace orvx::detail {

// Opens `path` for reading. Fails, naming the path, when it is missing (then
// `missing` is set), is no regular file, or cannot be opened.
Error OpenForReading(const std::string& path, os::FileHandle& file, bool* missing = nullptr);
// What a failed open of `path` for reading says (a CFileException's cause and system error).
Error OpenError(const std::string& path, int cause, int osError);
// Reads the open `file` whole into `bytes`; a file longer than `limit` is
// refused before anything is read (and one that grows past it while read).
Error ReadOpenFile(const std::string& path, os::FileHandle file, std::uint64_t limit, std::string& bytes);
// The file `path` names once its symbolic links are followed (`path` itself
// when it is no link, or names nothing yet). Fails on a loop.
Error ResolveLinks(const std::string& path, std::string& target);

}  // namespace orvx::detail
