// The record reader, shared by the library-wide model array and the
// databases a caller owns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "orvx/database.h"

namespace orvx::detail {

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
