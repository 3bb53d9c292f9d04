// Checking a registry store file without loading it as a hive, for the tool
// and the tests.
#pragma once

#include <string>

#include "orvx/error.h"

namespace orvx::registry {
// Checks that a store file parses. A failure's `where` is the line (from 1)
// of the problem, or 0 when the file could not be read.
Error CheckFile(const std::string& path);
}  // namespace orvx::registry
