// Reading and writing database files for the tool.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvx/prn_static_info.h"

namespace orvdb {

// Replaces the model array's content with the records of `path`. On failure
// the array is left empty and `error` names the file and the problem.
bool LoadDatabase(const std::string& path, std::string& error);

// Writes `records` as a database file at `path`, through a temporary file in
// the same directory, so a failed write leaves any old file as it was.
bool StoreDatabase(const std::string& path, const std::vector<std::unique_ptr<CPrnStaticInfo>>& records,
                   std::string& error);

// Records of the model array, borrowed.
std::vector<CPrnStaticInfo*> LoadedRecords();

}  // namespace orvdb
