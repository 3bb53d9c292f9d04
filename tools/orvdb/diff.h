// orvdb diff: what a new database changes against an old one, for reviewers
// and for scripts: records added, removed, changed and moved, names that a
// host would now resolve to another record, and picture IDs that change.
#pragma once

#include <ostream>
#include <string>

namespace orvdb {

struct DiffOptions {
  std::string oldPath, newPath;  // a database file or its JSON form each
  std::string namesFile;         // more names to look up, one a line
  std::string configsFile;       // eval picture requests naming models, one a line
  bool summary = false;          // the counts only
  bool json = false;
};

// Writes the report to `out`. Returns 0 when nothing differs, 1 when
// something does, 2 with `error` (one line naming the file) when an input
// cannot be read.
int Diff(const DiffOptions& options, std::ostream& out, std::string& error);

}  // namespace orvdb
