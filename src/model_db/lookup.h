// The lookup rules and the record reader, shared by the library-wide model
// array and the databases a caller owns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "orvx/database.h"

namespace orvx::detail {

// `nameAt(i)` gives the name of record i of `size`. Exact pass first; then the
// query, with a leading "hp" read as "HP", is searched for each record's name
// in order. A record named just "HP" only answers a query that starts with
// "HP"; for any other query it ends the search with the default record.
template <typename NameAt>
LookupResult Lookup(std::size_t size, std::string_view name, NameAt nameAt) {
  if (size == 0) return {};
  for (std::size_t i = 0; i < size; ++i)
    if (nameAt(i) == name) return {static_cast<std::ptrdiff_t>(i), Match::Exact};

  std::string key(name);
  const bool fixed = key.size() >= 2 && key[0] == 'h' && key[1] == 'p';
  if (fixed) {
    key[0] = 'H';
    key[1] = 'P';
  }
  for (std::size_t i = 0; i < size; ++i) {
    const std::string_view pattern = nameAt(i);
    if (key.find(pattern) == std::string::npos) continue;
    if (pattern == "HP" && !key.starts_with("HP")) break;
    // "hp" only counts when the query as given would not have matched.
    const bool byFix = fixed && name.find(pattern) == std::string_view::npos;
    return {static_cast<std::ptrdiff_t>(i), byFix ? Match::HpFix : Match::Substring};
  }
  return {0, Match::Default};
}

// Reads the record count and then the records, handing each to `add` as soon
// as it is complete, so that a huge count in a short file fails at the first
// missing byte without allocating for it. The count is signed in the file: a
// negative one reads no record.
template <typename Add>
void ReadRecords(CArchive& ar, std::int32_t count, Add add) {
  for (std::int32_t i = 0; i < count; ++i) {
    auto record = std::make_unique<CPrnStaticInfo>();
    record->Serialize(ar);
    add(std::move(record));
  }
}

}  // namespace orvx::detail
