// The database loader over arbitrary bytes, in memory: a load that succeeds
// stores back to exactly the bytes it consumed, writes the input back while
// nothing differs, and is taken for a database by the form decision, and a failed one throws nothing. (fuzz_attach checks that the library-wide loader, through the
// file path of the entry, agrees with this one.)
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orvx/database.h"
#include "orvx/db_form.h"

namespace {

std::vector<std::uint8_t> Store(const orvx::ModelDatabase& db) {
  CMemFile out;
  CArchive ar(&out, CArchive::store, 1024);
  db.Store(ar);
  ar.Close();
  return out.Bytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orvx::ModelDatabase db;
  std::uint64_t consumed = 0;
  if (db.LoadBytes({data, size}, &consumed).Failed()) return 0;
  // Whatever loads is taken for a database by the form decision.
  if (orvx::GuessForm({data, size}, size) != orvx::FileForm::Database) abort();
  // The writer gives the input back whole while the records are as loaded,
  // also after an edit undone, and the records' own bytes after one that stays.
  const auto unchanged = db.Bytes();
  if (unchanged.size() != size || (size && std::memcmp(unchanged.data(), data, size) != 0)) abort();
  if (!db.empty()) {
    const std::string flags = std::to_string(db[0].Fields().Flags);
    if (db.Set(0, "Flags", std::to_string(db[0].Fields().Flags ^ 1)).Failed() || db.Bytes() != Store(db)) abort();
    if (db.Set(0, "Flags", flags).Failed() || db.Bytes() != unchanged) abort();
  }

  // The same bytes back, except where the input spelt a string length in a
  // longer form than needed (the reader accepts those; the writer never
  // makes them), which can only make the input longer.
  const auto stored = Store(db);
  const bool same = stored.size() == consumed && std::memcmp(stored.data(), data, consumed) == 0;
  if (same) return 0;  // the bytes that loaded come back: loading them again proves nothing new
  if (stored.size() >= consumed) abort();
  // Byte comparisons through memcmp: an inlined loop would be traced byte by byte.
  orvx::ModelDatabase again;
  if (again.LoadBytes(stored).Failed()) abort();
  const auto restored = Store(again);
  if (restored.size() != stored.size() || std::memcmp(restored.data(), stored.data(), stored.size()) != 0) abort();
  return 0;
}
