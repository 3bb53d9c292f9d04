// Reading and writing database files for the tool, and its standard output.
#pragma once

#include <string>
#include <string_view>

#include "orvx/database.h"
#include "orvx/status.h"

namespace orvdb {


// The database in its file layout.
std::string DatabaseBytes(const orvx::ModelDatabase& db);

// Writes `bytes` as the file `path`, or to standard output for "-". Only a
// new file or a regular one is written (a symbolic link's target); a failure
// leaves any old file as it was.
orvx::Status WriteOutput(const std::string& path, std::string_view bytes);

// Puts standard input or output into binary mode where the platform has text modes.
void BinaryStream(std::FILE* stream);

}  // namespace orvdb
