#include <memory>
#include <string_view>

#include "model_db/db_loader.h"
#include "model_db/name_index.h"
#include "orvx/model_db.h"

CPtrArray CPrnStaticInfoArray;

namespace {
CPrnStaticInfo* At(std::ptrdiff_t i) { return static_cast<CPrnStaticInfo*>(CPrnStaticInfoArray.GetAt(static_cast<int>(i))); }

// The lookup's index over the array, made by the first lookup after a change.
// Every change a host makes to the array moves its stamp, and renames of its
// records move the slot's counter: the next lookup sees either.
orvx::detail::IndexSlot g_index;
}  // namespace

void CPrnStaticInfoArray_RemoveAll() {
  orvx::detail::DropIndex(g_index);
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
  orvx::detail::DropIndex(g_index);
  orvx::Framing framing;
  orvx::detail::ReadDatabase(ar, [](std::unique_ptr<CPrnStaticInfo> record) {
    CPrnStaticInfoArray.SetAtGrow(CPrnStaticInfoArray.GetSize(), record.get());
    record.release();
  }, framing);
}

CPrnStaticInfo* GetPointerToCPrnStaticInfo(const char* modelName) {
  const auto size = static_cast<std::size_t>(CPrnStaticInfoArray.GetSize());
  if (size == 0) return nullptr;
  const auto index = orvx::detail::CurrentIndex(g_index, size, CPrnStaticInfoArray.Stamp(),
                                                [](std::size_t i) -> const CPrnStaticInfo& { return *At(static_cast<std::ptrdiff_t>(i)); });
  const auto found = orvx::detail::Lookup(*index, size, modelName ? modelName : "",
                                          [](std::size_t i) { return At(static_cast<std::ptrdiff_t>(i))->GetModelName().view(); });
  return At(found.index);
}
