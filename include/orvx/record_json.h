// A record's JSON form, as `orvdb export` writes it and `orvdb build` reads
// it, and the one place where a value given in that form is checked and
// stored: the tool's build, the C interface, Python and the page all set
// fields through SetRecordValue, so each refuses the same values with the
// same words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "orvx/export.h"
#include "orvx/prn_static_info.h"
#include "orvx/status.h"

namespace orvx {

// Appends the record as one JSON object: "ModelName" (or "ModelNameBytes",
// its bytes, for a name that is not UTF-8), every numeric field by name in
// database order with "FlagNames" after "Flags", then "InTraySPSZSizeList"
// as [{"tray": number or name, "sizes": [...]}] (the block's bytes when it
// does not read as trays, null when there is none). One key a line, each
// line starting with `indent` and two spaces; size lists one tray a line.
ORVX_API void AppendRecordJson(const CPrnStaticInfo& record, std::string& out, std::string_view indent = "");
// The record alone, without indent.
ORVX_API std::string RecordJson(const CPrnStaticInfo& record);

// Stores `value`, the JSON text of one value, under the key `key` of the
// JSON form: a numeric field by name (an integer that fits it), "ModelName"
// (a string), "ModelNameBytes" (an array of byte values), "FlagNames" (an
// array of flag names: those flags set, the other defined ones cleared, the
// undefined bits of Flags kept) or "InTraySPSZSizeList" (trays as above,
// the block's bytes with its length first, or null for none). A value that
// does not fit fails with Argument (NotFound for a key that is no field),
// its message saying why without naming the key, and the record unchanged.
ORVX_API Status SetRecordValue(CPrnStaticInfo& record, std::string_view key, std::string_view value);
// Sets or clears the flag named as its getter ("IsColorPrinter"); NotFound
// for a name that is no flag.
ORVX_API Status SetRecordFlag(CPrnStaticInfo& record, std::string_view flag, bool on);

// "model 3 (\"Name\"), key \"Info0301\": " + problem: how the editing calls
// and build place a problem (without a name when there is none or it is empty).
ORVX_API std::string AtRecordKey(std::size_t index, const std::string* name, std::string_view key,
                                 std::string_view problem);

}  // namespace orvx
