// Which of its two forms a model database file is in: the file layout the
// library loads, or the JSON form `orvdb build` turns into it. Every reader
// that takes either form asks here, so that they all read a file alike.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "orvx/export.h"
#include "orvx/status.h"

namespace orvx {

enum class FileForm : std::uint8_t { Database, Json };

// The form of a file of `length` bytes that begins with `head`: only its
// first four bytes are read (a shorter head only when the file is shorter).
// A database is never taken for JSON, and no JSON text that `orvdb build`
// accepts is taken for a database; a file that is neither is taken for a
// database unless its first bytes are JSON's, and then fails to load with
// what is wrong with it.
ORVX_API FileForm GuessForm(std::span<const std::uint8_t> head, std::uint64_t length);
// The form of the file `path`, from its first four bytes and its length. It
// fails as a load of the file would when the file cannot be opened or read.
ORVX_API Result<FileForm> FormOfFile(const std::string& path);

}  // namespace orvx
