// The record's field table, visible to the record's own sources so that
// serialization can be unrolled at compile time.
#pragma once

#include <array>
#include <cstddef>

#include "orvx/record_fields.h"
#include "orvx/text.h"

namespace orvx::detail {

// An information field's key is its name read as hex: "Info0B0A" is key 0x0B0A.
constexpr DWORD KeyOf(std::string_view name) {
  if (!name.starts_with("Info")) return 0;
  DWORD key = 0;
  for (char c : name.substr(4)) {
    key = key * 16 + static_cast<DWORD>(orvx::text::HexDigit(c));
  }
  return key;
}

#define ORVX_FIELD(field, type) \
  FieldDesc { #field, static_cast<std::uint16_t>(offsetof(PrnStaticFields, field)), FieldType::type, KeyOf(#field) }

inline constexpr auto kFields = [] {
  std::array<FieldDesc, 57> t{{
      ORVX_FIELD(VenderID, U16),     ORVX_FIELD(ModelGroupID, U16), ORVX_FIELD(BasedModelGroupID, U16),
      ORVX_FIELD(IconBaseIdx, U8),   ORVX_FIELD(Flags, U32),        ORVX_FIELD(Info0108, S8),
      ORVX_FIELD(SpareByte, U8),     ORVX_FIELD(Info0105, S8),      ORVX_FIELD(Info0301, S8),
      ORVX_FIELD(Info0608, S8),      ORVX_FIELD(Info0B01, S8),      ORVX_FIELD(Info0B02, S8),
      ORVX_FIELD(Info0B03, S8),      ORVX_FIELD(Info0A01, S8),      ORVX_FIELD(Info0A02, S8),
      ORVX_FIELD(Info0A03, S8),      ORVX_FIELD(Info0305, S8),      ORVX_FIELD(Info0705, S8),
      ORVX_FIELD(Info0C01, S8),      ORVX_FIELD(Info0C02, S8),      ORVX_FIELD(Info0302, S8),
      ORVX_FIELD(Info0303, S8),      ORVX_FIELD(Info0304, S8),      ORVX_FIELD(Info0203, S8),
      ORVX_FIELD(Info0A04, S8),      ORVX_FIELD(Info0308, S8),      ORVX_FIELD(Info20000, S8),
      ORVX_FIELD(Info0401, S8),      ORVX_FIELD(Info0501, S8),      ORVX_FIELD(Info30000, S8),
      ORVX_FIELD(Info040A, U8),      ORVX_FIELD(Info10000, S8),     ORVX_FIELD(Info70000, S8),
      ORVX_FIELD(Info0707, S8),      ORVX_FIELD(Info0711, S8),      ORVX_FIELD(Info0D08, U16),
      ORVX_FIELD(Info0B0A, S8),      ORVX_FIELD(Info1200000, U32),  ORVX_FIELD(Info1210000, U32),
      ORVX_FIELD(Info1220000, U32),  ORVX_FIELD(Info1230000, U32),  ORVX_FIELD(Info220000, U8),
      ORVX_FIELD(Info230000, U8),    ORVX_FIELD(Info310000, U8),    ORVX_FIELD(Info1310000, U8),
      ORVX_FIELD(Info1320000, U8),   ORVX_FIELD(Info1330000, U8),   ORVX_FIELD(Info0110, U8),
      ORVX_FIELD(Info0B0C, U8),      ORVX_FIELD(Info1400000, S16),  ORVX_FIELD(Info1134, U8),
      // the size-list block stands here in the stream
      ORVX_FIELD(Info1510000, S8),   ORVX_FIELD(Info0B05, S8),      ORVX_FIELD(Info1520000, U16),
      ORVX_FIELD(Info1530000, S16),  ORVX_FIELD(Info1610000, U16),  ORVX_FIELD(Info1620000, U16),
  }};
  for (auto& d : t) {
    if (d.key == 0x0304) d.aliasKey = 0x1008;
    if (d.key == 0x040A) {
      d.setOnlyKey = 0x0481;
      d.ffMeansUnset = true;
    }
  }
  return t;
}();
#undef ORVX_FIELD

constexpr std::size_t BytesOf(std::size_t first, std::size_t last) {
  std::size_t n = 0;
  for (std::size_t i = first; i < last; ++i) n += static_cast<std::size_t>(FieldWidth(kFields[i].type));
  return n;
}
static_assert(BytesOf(0, kFieldsBeforeBlock) == kBytesBeforeBlock);
static_assert(BytesOf(kFieldsBeforeBlock, kFields.size()) == kBytesAfterBlock);

}  // namespace orvx::detail
