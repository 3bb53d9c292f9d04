// Checks of a model database for its authors: records that users can never
// get to, and data the library cannot read as meant.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/database.h"
#include "orvx/status.h"

namespace orvdb {

struct Finding {
  std::ptrdiff_t index;  // the record, or -1 for the file as a whole
  std::string name;      // the record's model name
  std::string code;      // e.g. "duplicate-name"
  std::string message;
};

// The byte where `s` stops being printable text (a control character, or a
// byte that is not UTF-8), or npos.
std::size_t Unprintable(std::string_view s);
// `s` quoted, each byte that is not printable ASCII written as \xNN, so that
// a message or listing that shows a stored name stays printable text.
std::string Escaped(std::string_view s);

// Findings about the records of `db`, in record order.
std::vector<Finding> LintRecords(const orvx::ModelDatabase& db);

// Adds the findings about a database's framing that its load reported: a
// negative record count (which the library entry reads as no record, and the
// loader refuses) and bytes after the last record. False when the load failed
// for any other reason: the data is no database to lint.
bool LintFraming(const orvx::Status& load, const orvx::Framing& framing, std::vector<Finding>& findings);

}  // namespace orvdb
