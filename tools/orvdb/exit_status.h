// Where a failure leaves the tool: its exit code and one line on standard error.
#pragma once

#include <ostream>

#include "orvx/status.h"

namespace orvdb {

// 0 for success; for a failure 3 (no registry store), 4 (a malformed one),
// 5 (a stored value of the wrong type), 6 (an empty one), 7 (one too large
// to load), and 2 for every other kind: a usage error, or a file or output
// that cannot be read or written. (1, a negative answer, is no failure: a
// command gives it itself.)
int ExitCode(const orvx::Status& status);

// Writes "orvdb: MESSAGE" (the code's text when there is no message) as one
// line to `err` and returns ExitCode(status).
int Report(const orvx::Status& status, std::ostream& err);

}  // namespace orvdb
