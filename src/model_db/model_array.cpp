#include <cstring>
#include <memory>
#include <string_view>

#include "orvx/model_db.h"

CPtrArray CPrnStaticInfoArray;

namespace {
CPrnStaticInfo* At(int i) { return static_cast<CPrnStaticInfo*>(CPrnStaticInfoArray.GetAt(i)); }
}  // namespace

void CPrnStaticInfoArray_RemoveAll() {
  if (CPrnStaticInfoArray.IsEmpty()) return;
  for (void* p : CPrnStaticInfoArray) delete static_cast<CPrnStaticInfo*>(p);
  CPrnStaticInfoArray.SetSize(0);
}

void CPrnStaticInfoArray_Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << static_cast<DWORD>(CPrnStaticInfoArray.GetSize());
    for (void* p : CPrnStaticInfoArray) static_cast<CPrnStaticInfo*>(p)->Serialize(ar);
    return;
  }
  const auto count = static_cast<std::int32_t>(ar.ReadScalar<DWORD>());
  // Records are made one at a time as the data arrives, so a huge count in a
  // short file fails at the first missing byte without allocating for it.
  for (std::int32_t i = 0; i < count; ++i) {
    auto record = std::make_unique<CPrnStaticInfo>();
    record->Serialize(ar);
    CPrnStaticInfoArray.SetAtGrow(CPrnStaticInfoArray.GetSize(), record.get());
    record.release();
  }
}

CPrnStaticInfo* GetPointerToCPrnStaticInfo(const char* modelName) {
  const int size = CPrnStaticInfoArray.GetSize();
  if (size == 0) return nullptr;
  const std::string_view name = modelName ? modelName : "";

  for (int i = 0; i < size; ++i)
    if (At(i)->GetModelName().view() == name) return At(i);

  std::string key(name);
  if (key.size() >= 2 && key[0] == 'h' && key[1] == 'p') {
    key[0] = 'H';
    key[1] = 'P';
  }
  for (int i = 0; i < size; ++i) {
    const std::string_view pattern = At(i)->GetModelName().view();
    if (key.find(pattern) == std::string::npos) continue;
    if (pattern == "HP") return key.starts_with("HP") ? At(i) : At(0);
    return At(i);
  }
  return At(0);
}
