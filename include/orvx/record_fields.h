// The one table that describes every numeric field of a model record: its
// name, place, width, signedness and information keys, in database order.
// Serialization, GetInfo/SetInfoQuery, the copy and the tool's JSON form all
// run from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "orvx/export.h"
#include "orvx/prn_static_info.h"

namespace orvx {

enum class FieldType : std::uint8_t { U8, S8, U16, S16, U32 };

constexpr int FieldWidth(FieldType t) {
  return t == FieldType::U32 ? 4 : (t == FieldType::U16 || t == FieldType::S16) ? 2 : 1;
}
constexpr bool FieldSigned(FieldType t) { return t == FieldType::S8 || t == FieldType::S16; }

struct FieldDesc {
  std::string_view name;
  std::uint16_t offset;  // within PrnStaticFields
  FieldType type;
  DWORD key = 0;         // information key; 0 when the field has none
  DWORD aliasKey = 0;    // a second key that reads and writes the same field
  DWORD setOnlyKey = 0;  // a key that only writes the field
  bool ffMeansUnset = false;  // GetInfo reads 0xFF as -1, other values unsigned
};

// All 57 numeric fields in stream order. The size-list block sits between
// element kFieldsBeforeBlock - 1 and element kFieldsBeforeBlock.
ORVX_API std::span<const FieldDesc> RecordFields();
inline constexpr std::size_t kFieldsBeforeBlock = 51;
// Bytes the fields take in the stream before and after the block.
inline constexpr std::size_t kBytesBeforeBlock = 71;
inline constexpr std::size_t kBytesAfterBlock = 10;

// The field named `name`, or null.
ORVX_API const FieldDesc* FindField(std::string_view name);
// The field an information key reads (or, with `forSetting`, also the
// fields that keys only write); null when the key names none.
ORVX_API const FieldDesc* FieldForKey(DWORD key, bool forSetting = false);
// The value as stored: sign-extended for signed fields, zero-extended otherwise.
ORVX_API std::int64_t ReadField(const PrnStaticFields& f, const FieldDesc& d);
// Stores the low bits of `value`.
ORVX_API void WriteField(PrnStaticFields& f, const FieldDesc& d, std::int64_t value);
// True when `value` is representable in the field as stored (signed or not).
ORVX_API bool FieldValueFits(const FieldDesc& d, std::int64_t value);

// The thirteen capability flags, in bit order: the getter's name, the bit,
// and the record's getter and setter.
struct FlagDesc {
  std::string_view name;
  DWORD bit;
  int (CPrnStaticInfo::*get)() const;
  void (CPrnStaticInfo::*set)(int);
};
ORVX_API std::span<const FlagDesc> RecordFlags();
// The flag named `name`, or null.
ORVX_API const FlagDesc* FindFlag(std::string_view name);
// The bits of Flags that mean something.
inline constexpr DWORD kDefinedFlagBits = 0x1FFF;

}  // namespace orvx
