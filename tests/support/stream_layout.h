// The database layout of a model record, written out independently of the
// library's own field table: each field's stream offset counted from the byte
// after the model name (fields after the block: from the byte after it).
#pragma once

#include <string_view>

namespace orvx_test {

struct StreamField {
  std::string_view name;
  int offset;
  int width;
  bool afterBlock;
};

inline constexpr StreamField kStreamLayout[] = {
    {"VenderID", 0, 2, false},      {"ModelGroupID", 2, 2, false},  {"BasedModelGroupID", 4, 2, false},
    {"IconBaseIdx", 6, 1, false},   {"Flags", 7, 4, false},         {"Info0108", 11, 1, false},
    {"SpareByte", 12, 1, false},    {"Info0105", 13, 1, false},     {"Info0301", 14, 1, false},
    {"Info0608", 15, 1, false},     {"Info0B01", 16, 1, false},     {"Info0B02", 17, 1, false},
    {"Info0B03", 18, 1, false},     {"Info0A01", 19, 1, false},     {"Info0A02", 20, 1, false},
    {"Info0A03", 21, 1, false},     {"Info0305", 22, 1, false},     {"Info0705", 23, 1, false},
    {"Info0C01", 24, 1, false},     {"Info0C02", 25, 1, false},     {"Info0302", 26, 1, false},
    {"Info0303", 27, 1, false},     {"Info0304", 28, 1, false},     {"Info0203", 29, 1, false},
    {"Info0A04", 30, 1, false},     {"Info0308", 31, 1, false},     {"Info20000", 32, 1, false},
    {"Info0401", 33, 1, false},     {"Info0501", 34, 1, false},     {"Info30000", 35, 1, false},
    {"Info040A", 36, 1, false},     {"Info10000", 37, 1, false},    {"Info70000", 38, 1, false},
    {"Info0707", 39, 1, false},     {"Info0711", 40, 1, false},     {"Info0D08", 41, 2, false},
    {"Info0B0A", 43, 1, false},     {"Info1200000", 44, 4, false},  {"Info1210000", 48, 4, false},
    {"Info1220000", 52, 4, false},  {"Info1230000", 56, 4, false},  {"Info220000", 60, 1, false},
    {"Info230000", 61, 1, false},   {"Info310000", 62, 1, false},   {"Info1310000", 63, 1, false},
    {"Info1320000", 64, 1, false},  {"Info1330000", 65, 1, false},  {"Info0110", 66, 1, false},
    {"Info0B0C", 67, 1, false},     {"Info1400000", 68, 2, false},  {"Info1134", 70, 1, false},
    {"Info1510000", 0, 1, true},    {"Info0B05", 1, 1, true},       {"Info1520000", 2, 2, true},
    {"Info1530000", 4, 2, true},    {"Info1610000", 6, 2, true},    {"Info1620000", 8, 2, true},
};

// Stream offset of a field in a record with an empty name and no block.
constexpr int AbsoluteOffset(const StreamField& f) { return 1 + (f.afterBlock ? 72 + f.offset : f.offset); }

}  // namespace orvx_test
