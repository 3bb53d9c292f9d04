#include "orvx/record_fields.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace orvx {
namespace {

// An information field's key is its name read as hex: "Info0B0A" is key 0x0B0A.
constexpr DWORD KeyOf(std::string_view name) {
  if (!name.starts_with("Info")) return 0;
  DWORD key = 0;
  for (char c : name.substr(4)) {
    const DWORD digit = (c >= '0' && c <= '9') ? DWORD(c - '0') : DWORD(c - 'A' + 10);
    key = key * 16 + digit;
  }
  return key;
}

#define ORVX_FIELD(field, type) \
  FieldDesc { #field, static_cast<std::uint16_t>(offsetof(PrnStaticFields, field)), FieldType::type, KeyOf(#field) }

constexpr auto kFields = [] {
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

}  // namespace

std::span<const FieldDesc> RecordFields() { return kFields; }

const FieldDesc* FindField(std::string_view name) {
  const auto it = std::find_if(kFields.begin(), kFields.end(), [&](const FieldDesc& d) { return d.name == name; });
  return it == kFields.end() ? nullptr : &*it;
}

std::int64_t ReadField(const PrnStaticFields& f, const FieldDesc& d) {
  const auto* p = reinterpret_cast<const unsigned char*>(&f) + d.offset;
  switch (d.type) {
    case FieldType::U8: return *p;
    case FieldType::S8: return static_cast<std::int8_t>(*p);
    case FieldType::U16: { WORD v; std::memcpy(&v, p, 2); return v; }
    case FieldType::S16: { std::int16_t v; std::memcpy(&v, p, 2); return v; }
    case FieldType::U32: { DWORD v; std::memcpy(&v, p, 4); return v; }
  }
  return 0;
}

void WriteField(PrnStaticFields& f, const FieldDesc& d, std::int64_t value) {
  auto* p = reinterpret_cast<unsigned char*>(&f) + d.offset;
  const auto bits = static_cast<std::uint64_t>(value);
  switch (FieldWidth(d.type)) {
    case 1: *p = static_cast<BYTE>(bits); break;
    case 2: { const auto v = static_cast<WORD>(bits); std::memcpy(p, &v, 2); break; }
    default: { const auto v = static_cast<DWORD>(bits); std::memcpy(p, &v, 4); break; }
  }
}

bool FieldValueFits(const FieldDesc& d, std::int64_t value) {
  const int bits = FieldWidth(d.type) * 8;
  if (FieldSigned(d.type)) {
    const std::int64_t lim = std::int64_t{1} << (bits - 1);
    return value >= -lim && value < lim;
  }
  return value >= 0 && value < (std::int64_t{1} << bits);
}

}  // namespace orvx
