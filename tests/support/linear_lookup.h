// The lookup as a plain scan of every name, two passes in record order: the
// oracle that the library's indexed lookup is tested against.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "orvx/database.h"

namespace orvx_test {

inline orvx::LookupResult LinearLookup(const std::vector<std::string>& names, std::string_view name) {
  using orvx::Match;
  if (names.empty()) return {};
  for (std::size_t i = 0; i < names.size(); ++i)
    if (names[i] == name) return {static_cast<std::ptrdiff_t>(i), Match::Exact};
  std::string key(name);
  const bool fixed = key.size() >= 2 && key[0] == 'h' && key[1] == 'p';
  if (fixed) key.replace(0, 2, "HP");
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (key.find(names[i]) == std::string::npos) continue;
    if (names[i] == "HP" && !key.starts_with("HP")) break;
    const bool byFix = fixed && name.find(names[i]) == std::string_view::npos;
    return {static_cast<std::ptrdiff_t>(i), byFix ? Match::HpFix : Match::Substring};
  }
  return {0, Match::Default};
}

}  // namespace orvx_test
