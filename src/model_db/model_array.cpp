#include <memory>
#include <string_view>

#include "lookup.h"
#include "orvx/model_db.h"

CPtrArray CPrnStaticInfoArray;

namespace {
CPrnStaticInfo* At(std::ptrdiff_t i) { return static_cast<CPrnStaticInfo*>(CPrnStaticInfoArray.GetAt(static_cast<int>(i))); }
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
  orvx::detail::ReadRecords(ar, count, [](std::unique_ptr<CPrnStaticInfo> record) {
    CPrnStaticInfoArray.SetAtGrow(CPrnStaticInfoArray.GetSize(), record.get());
    record.release();
  });
}

CPrnStaticInfo* GetPointerToCPrnStaticInfo(const char* modelName) {
  const auto found = orvx::detail::Lookup(static_cast<std::size_t>(CPrnStaticInfoArray.GetSize()),
                                          modelName ? modelName : "",
                                          [](std::size_t i) { return At(static_cast<std::ptrdiff_t>(i))->GetModelName().view(); });
  return found.index < 0 ? nullptr : At(found.index);
}
