// Checking a registry store file without loading it as a hive, and the names
// a store file can hold, for the library, the tool and the tests.
#pragma once

#include <string>
#include <string_view>

#include "orvx/export.h"
#include "orvx/status.h"

namespace orvx::registry {
// Checks that a store file parses: NoStore when it is missing, BadStore when
// it is malformed (the message names the file and the line, which `where`
// holds too), or why it could not be read.
ORVX_API Status CheckFile(const std::string& path);
// The same for `text`, the bytes of a store file: BadStore with the line.
ORVX_API Status CheckStoreText(std::string_view text);
// Why a key path or value name cannot be written to a store file (it holds a
// line break or another control character but a tab, which would break its
// line); empty when it can. `what` starts the message ("the application name").
ORVX_API std::string NameProblem(std::string_view name, std::string_view what);
}  // namespace orvx::registry
