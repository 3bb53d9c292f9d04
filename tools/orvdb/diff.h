// orvdb diff: what a new database changes against an old one, for reviewers
// and for scripts: records added, removed, changed and moved, names that a
// host would now resolve to another record, and picture IDs that change.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "orvx/database.h"
#include "orvx/status.h"

namespace orvdb {

struct DiffOptions {
  std::string oldPath, newPath;  // a database file or its JSON form each
  std::string namesFile;         // more names to look up, one a line
  std::string configsFile;       // eval picture requests naming models, one a line
  bool summary = false;          // the counts only
  bool json = false;
  // What makes the exit status 1: "records" (added, removed, changed,
  // moved), "lookups" (existing lookups that now answer otherwise),
  // "new-names" (names that matched nothing and now find a record),
  // "pictures" (picture drift), "any" (all of them; also when empty).
  std::vector<std::string> failOn;
};

// The values --fail-on takes.
inline constexpr const char* kFailOnClasses[] = {"records", "lookups", "new-names", "pictures", "any"};

// What --names and --configs give, already read: the names, and the
// picture requests one a line (an error names `configsLabel` and the line).
struct DiffExtras {
  std::vector<std::string> names;
  std::vector<std::string> configs;
  std::string configsLabel;
};

// The report on two databases already loaded, appended to `out`: `options`
// gives the labels (oldPath, newPath), --summary, --json and --fail-on; its
// file names are not read. Whether something of a class that `failOn` names
// differs, or why a picture request cannot be read.
orvx::Result<bool> Diff(const orvx::ModelDatabase& oldDb, const orvx::ModelDatabase& newDb,
                        const DiffOptions& options, const DiffExtras& extras, std::string& out);

// Loads the files `options` names and writes their report to `out`. Whether
// something of a class that `failOn` names differs, or why an input cannot
// be read (naming the file).
orvx::Result<bool> Diff(const DiffOptions& options, std::ostream& out);

}  // namespace orvdb
