// Checks of a model database for its authors: records that users can never
// get to, and data the library cannot read as meant.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "orvx/database.h"

namespace orvdb {

struct Finding {
  std::ptrdiff_t index;  // the record, or -1 for the file as a whole
  std::string name;      // the record's model name
  std::string code;      // e.g. "duplicate-name"
  std::string message;
};

// Findings about the records of `db`, in record order.
std::vector<Finding> LintRecords(const orvx::ModelDatabase& db);

// Findings about a database file's framing: its record count and bytes after
// the last record. `db` receives the records when the file loads.
// False (with `error`) when the bytes are no database at all.
bool LintFile(const std::string& bytes, orvx::ModelDatabase& db, std::vector<Finding>& findings, std::string& error);

}  // namespace orvdb
