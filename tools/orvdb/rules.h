// orvdb rules: which rule serves a vendor and model group in each entry
// point, and what each rule's tables recognise, read from the tables.
#pragma once

#include <iosfwd>

#include "orvx/prn_static_info.h"

namespace orvdb {

// Every vendor/group pair the rules know and every rule's rows.
void PrintAllRules(std::ostream& out, bool json);
// The rules of one record's vendor and group; `model` names the record ("" for a fresh one).
void PrintRulesFor(std::ostream& out, const CPrnStaticInfo& record, const std::string& model, bool json);

}  // namespace orvdb
