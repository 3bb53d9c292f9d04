// The indexed lookup against the plain scan. The input is pieces separated by
// zero bytes: names, then the query last. A piece led by byte 1 is a change
// made between lookups instead (1, kind, i, j, then a name): to the model
// array (set, swap, delete then set, insert, remove, empty and refill, copy,
// rename, a database's record lent to the array) or to an owned database
// (rename, copy, add). After each, the database and the array must give the
// scan's record and match kind, and FirstNameIn the first non-empty name
// inside the query.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "linear_lookup.h"
#include "orvx/database.h"
#include "orvx/model_db.h"

namespace {

CPrnStaticInfo* At(int i) { return static_cast<CPrnStaticInfo*>(CPrnStaticInfoArray.GetAt(i)); }

CPrnStaticInfo* Fresh(const std::string& name) {
  auto* r = new CPrnStaticInfo;
  r->SetModelName(name);
  return r;
}

// The plain way: a scan of the records' names as they are now.
std::vector<std::string> ArrayNames() {
  std::vector<std::string> names;
  for (void* p : CPrnStaticInfoArray) names.emplace_back(static_cast<CPrnStaticInfo*>(p)->GetModelName().view());
  return names;
}

void Check(const orvx::ModelDatabase& db, const std::string& query) {
  std::vector<std::string> dbNames;
  for (std::size_t i = 0; i < db.size(); ++i) dbNames.emplace_back(db[i].GetModelName().view());
  const orvx::LookupResult expected = orvx_test::LinearLookup(dbNames, query), found = db.Lookup(query);
  if (found.index != expected.index || found.how != expected.how) abort();
  std::ptrdiff_t inside = -1;
  for (std::size_t i = 0; i < dbNames.size() && inside < 0; ++i)
    if (!dbNames[i].empty() && query.find(dbNames[i]) != std::string::npos) inside = static_cast<std::ptrdiff_t>(i);
  if (db.FirstNameIn(query) != inside) abort();
  const auto want = orvx_test::LinearLookup(ArrayNames(), query).index;
  if (GetPointerToCPrnStaticInfo(query.c_str()) != (want < 0 ? nullptr : At(static_cast<int>(want)))) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> pieces(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i])
      pieces.back().push_back(static_cast<char>(data[i]));
    else
      pieces.emplace_back();
  }
  const std::string query = pieces.back();
  pieces.pop_back();
  std::vector<std::string> names, changes;
  for (auto& p : pieces) (p.size() >= 3 && p[0] == 1 ? changes : names).push_back(std::move(p));

  orvx::ModelDatabase db;
  for (const auto& n : names) {
    auto r = std::make_unique<CPrnStaticInfo>();
    r->SetModelName(n);
    db.Add(std::move(r));
  }
  CPrnStaticInfoArray_RemoveAll();
  for (const auto& n : names) CPrnStaticInfoArray.Add(Fresh(n));
  const auto release = [&](void* p) {
    for (std::size_t k = 0; k < db.size(); ++k)
      if (&db[k] == p) return;  // lent by the database, which deletes it
    delete static_cast<CPrnStaticInfo*>(p);
  };
  Check(db, query);
  for (const auto& c : changes) {
    const int n = CPrnStaticInfoArray.GetSize();
    const int i = n ? static_cast<unsigned char>(c[2]) % n : 0;
    const int j = n && c.size() > 3 ? static_cast<unsigned char>(c[3]) % n : 0;
    const std::string name = c.size() > 4 ? c.substr(4) : std::string();
    const std::size_t k = db.empty() ? 0 : static_cast<std::size_t>(i) % db.size();
    const std::size_t l = db.empty() ? 0 : static_cast<std::size_t>(j) % db.size();
    switch (static_cast<unsigned char>(c[1]) % 13) {
      case 0: if (n) At(i)->SetModelName(name); break;
      case 1: if (n) release(At(i)), CPrnStaticInfoArray.SetAt(i, Fresh(name)); break;
      case 2:
        if (n) {
          void* p = CPrnStaticInfoArray.GetAt(i);
          CPrnStaticInfoArray.SetAt(i, CPrnStaticInfoArray.GetAt(j));
          CPrnStaticInfoArray.SetAt(j, p);
        }
        break;
      case 3: CPrnStaticInfoArray.InsertAt(i, Fresh(name)); break;
      case 4: if (n) release(At(i)), CPrnStaticInfoArray.RemoveAt(i); break;
      case 5: {
        const auto old = ArrayNames();
        for (void* p : CPrnStaticInfoArray) release(p);
        CPrnStaticInfoArray.RemoveAll();
        for (const auto& m : old) CPrnStaticInfoArray.Add(Fresh(name + m));
        break;
      }
      case 6: if (n) At(i)->CopyParam(At(j)); break;
      case 7: CPrnStaticInfoArray.Add(Fresh(name)); break;
      case 8: if (n && !db.empty()) release(At(i)), CPrnStaticInfoArray.SetAt(i, &db[k]); break;
      case 9: if (!db.empty()) db[k].SetModelName(name); break;
      case 10: if (!db.empty()) db[k].CopyParam(&db[l]); break;
      case 11: {
        auto r = std::make_unique<CPrnStaticInfo>();
        r->SetModelName(name);
        db.Add(std::move(r));
        break;
      }
      default: {  // a database loaded elsewhere changes nothing here
        orvx::ModelDatabase other;
        other.Add(std::make_unique<CPrnStaticInfo>());
        other.Lookup(name);
        break;
      }
    }
    Check(db, query);
  }
  for (void* p : CPrnStaticInfoArray) release(p);
  CPrnStaticInfoArray.RemoveAll();
  return 0;
}
