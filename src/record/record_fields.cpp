#include "orvx/record_fields.h"

#include <algorithm>
#include <cstring>

#include "record/field_table.h"

namespace orvx {

using detail::kFields;

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
