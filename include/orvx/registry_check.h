// Checking a registry store file without loading it as a hive, and the names
// a store file can hold, for the library, the tool and the tests.
#pragma once

#include <string>
#include <string_view>

#include "orvx/status.h"

namespace orvx::registry {
// Checks that a store file parses. A failure's `where` is the line (from 1)
// of the problem, or 0 when the file could not be read.
Status CheckFile(const std::string& path);
// Why a key path or value name cannot be written to a store file (it holds a
// line break or another control character but a tab, which would break its
// line); empty when it can. `what` starts the message ("the application name").
std::string NameProblem(std::string_view name, std::string_view what);
}  // namespace orvx::registry
