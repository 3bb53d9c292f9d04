// The tool's JSON model import: whatever it accepts must store, load and
// export back to the same database.
#include <cstdlib>

#include "db_json.h"
#include "orvx/model_db.h"

namespace {

std::vector<std::uint8_t> Store(const std::vector<std::unique_ptr<CPrnStaticInfo>>& records) {
  CMemFile out;
  CArchive ar(&out, CArchive::store, 1024);
  ar << static_cast<DWORD>(records.size());
  for (const auto& r : records) r->Serialize(ar);
  ar.Close();
  return out.Bytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = orvdb::Json::parse(data, data + size, nullptr, false);
  if (document.is_discarded()) return 0;
  std::vector<std::unique_ptr<CPrnStaticInfo>> records;
  try {
    records = orvdb::ModelsFromJson(document);
  } catch (const orvdb::ImportError&) {
    return 0;
  }
  const auto bytes = Store(records);

  // Loaded back, the database stores to the same bytes.
  CPrnStaticInfoArray_RemoveAll();
  CMemFile in(bytes);
  CArchive ar(&in, CArchive::load, 1024);
  CPrnStaticInfoArray_Serialize(ar);
  if (static_cast<std::size_t>(CPrnStaticInfoArray.GetSize()) != records.size()) abort();

  // Export and import again: the same records.
  std::vector<std::unique_ptr<CPrnStaticInfo>> again;
  std::size_t i = 0;
  for (void* p : CPrnStaticInfoArray)
    again.push_back(orvdb::RecordFromJson(orvdb::Json::parse(orvdb::RecordToJson(*static_cast<CPrnStaticInfo*>(p)).dump()), i++));
  CPrnStaticInfoArray_RemoveAll();
  if (Store(again) != bytes) abort();
  return 0;
}
