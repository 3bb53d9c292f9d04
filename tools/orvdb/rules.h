// orvdb rules: which rule serves a vendor and model group in each entry
// point, and what each rule's tables recognise, read from the tables.
#pragma once

#include <iosfwd>

#include "db_json.h"
#include "orvx/prn_static_info.h"

namespace orvdb {

// The rules of a vendor and group in both entry points, with every row of
// their tables: {"vendor", "group", "GetPictureID": {"rule", "fixedResult",
// "rows"}, "GetPictureIDEx": ...}, as `rules --json` and the page give them.
Json RulesJson(int vendor, int group);
// Every vendor/group pair the rules know and every rule's rows.
void PrintAllRules(std::ostream& out, bool json);
// The rules of one record's vendor and group; `model` names the record ("" for a fresh one).
void PrintRulesFor(std::ostream& out, const CPrnStaticInfo& record, const std::string& model, bool json);

}  // namespace orvdb
