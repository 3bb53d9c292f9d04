// The indexed lookup against the plain scan: the input is names separated by
// zero bytes, the last piece being the query. Both must give the same record
// and match kind, and FirstNameIn the first non-empty name inside the query.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "linear_lookup.h"
#include "orvx/database.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> names(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i])
      names.back().push_back(static_cast<char>(data[i]));
    else
      names.emplace_back();
  }
  const std::string query = names.back();
  names.pop_back();
  orvx::ModelDatabase db;
  for (const auto& n : names) {
    auto r = std::make_unique<CPrnStaticInfo>();
    r->SetModelName(n);
    db.Add(std::move(r));
  }
  const orvx::LookupResult expected = orvx_test::LinearLookup(names, query), found = db.Lookup(query);
  if (found.index != expected.index || found.how != expected.how) abort();
  std::ptrdiff_t inside = -1;
  for (std::size_t i = 0; i < names.size() && inside < 0; ++i)
    if (!names[i].empty() && query.find(names[i]) != std::string::npos) inside = static_cast<std::ptrdiff_t>(i);
  if (db.FirstNameIn(query) != inside) abort();
  return 0;
}
