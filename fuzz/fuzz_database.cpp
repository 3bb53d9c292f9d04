// The database loader over arbitrary bytes, in memory: the owned loader and
// the library-wide one agree, and a load that succeeds stores back to exactly
// the bytes it consumed. (fuzz_attach covers the file path of the entry.)
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "orvx/database.h"
#include "orvx/model_db.h"

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
  orvx::LoadError error;
  std::uint64_t consumed = 0;
  const bool loaded = db.LoadBytes({data, size}, error, &consumed);

  // The library-wide loader reads the same records (a negative count: none).
  CPrnStaticInfoArray_RemoveAll();
  bool arrayLoaded = false;
  try {
    CMemFile in(data, size);
    CArchive ar(&in, CArchive::load, 1024);
    CPrnStaticInfoArray_Serialize(ar);
    arrayLoaded = true;
  } catch (const CArchiveException&) {
  }
  std::int32_t count = 0;
  if (size >= 4) std::memcpy(&count, data, sizeof count);
  if (loaded && (!arrayLoaded || static_cast<std::size_t>(CPrnStaticInfoArray.GetSize()) != db.size())) abort();
  if (!loaded && arrayLoaded && count >= 0) abort();
  CPrnStaticInfoArray_RemoveAll();
  if (!loaded) return 0;

  // The same bytes back, except where the input spelt a string length in a
  // longer form than needed (the reader accepts those; the writer never
  // makes them), which can only make the input longer.
  const auto stored = Store(db);
  const bool same = stored.size() == consumed && std::memcmp(stored.data(), data, consumed) == 0;
  if (!same && stored.size() >= consumed) abort();
  // Byte comparisons through memcmp: an inlined loop would be traced byte by byte.
  orvx::ModelDatabase again;
  if (!again.LoadBytes(stored, error)) abort();
  const auto restored = Store(again);
  if (restored.size() != stored.size() || std::memcmp(restored.data(), stored.data(), stored.size()) != 0) abort();
  return 0;
}
