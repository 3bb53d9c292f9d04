#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "orvx/prn_static_info.h"
#include "orvx/record_fields.h"
#include "record/field_table.h"
#include "record/name_watch.h"

ORVX_IMPLEMENT_DYNCREATE(CPrnStaticInfo, CObject, 1)

// Stream bytes are copied straight into the fields; both are little-endian.
static_assert(std::endian::native == std::endian::little, "the database encoding assumes a little-endian host");

CPrnStaticInfo::CPrnStaticInfo() : ModelName("Other Printer") {}

CPrnStaticInfo::~CPrnStaticInfo() = default;

void CPrnStaticInfo::Close() { InTraySPSZSizeList.reset(); }

void CPrnStaticInfo::SetModelName(CString name) {
  if (name == ModelName) return;  // an index that read the name still holds
  ModelName = std::move(name);
  orvx::detail::NameWatch::Renamed(*this);
}

std::atomic<std::uint64_t>& orvx::detail::NameWatch::SharedCounter() {
  static std::atomic<std::uint64_t> counter{0};
  return counter;
}

const CString& CPrnStaticInfo::GetModelName() const { return ModelName; }
int CPrnStaticInfo::GetVenderID() const { return F.VenderID; }
int CPrnStaticInfo::GetModelGroupID() const { return F.ModelGroupID; }
int CPrnStaticInfo::GetBasedModelGroupID() const { return F.BasedModelGroupID; }
int CPrnStaticInfo::GetIconBaseIdx() const { return F.IconBaseIdx; }

void CPrnStaticInfo::SetPicNameHead(CString head) {
  static constexpr std::array<std::string_view, 9> kHeads = {"GQ", "GV", "GU", "GT", "GA", "GZ", "GO", "GH", "GR"};
  const std::string_view h = head.view();
  const std::string_view prefix = h.substr(0, 2);
  F.VenderID = 0;
  for (std::size_t i = 0; i < kHeads.size(); ++i) {
    if (prefix == kHeads[i]) {
      F.VenderID = static_cast<WORD>(i + 1);
      break;
    }
  }
  // The group is the last two characters read the way atol reads them.
  std::string_view tail = h.size() > 2 ? h.substr(h.size() - 2) : h;
  while (!tail.empty() && (tail.front() == ' ' || (tail.front() >= '\t' && tail.front() <= '\r'))) tail.remove_prefix(1);
  bool negative = false;
  if (!tail.empty() && (tail.front() == '+' || tail.front() == '-')) {
    negative = tail.front() == '-';
    tail.remove_prefix(1);
  }
  long value = 0;
  for (char c : tail) {
    if (c < '0' || c > '9') break;
    value = value * 10 + (c - '0');
  }
  F.ModelGroupID = static_cast<WORD>(negative ? -value : value);
}

// ---- capability flags ----------------------------------------------------------
#define ORVX_FLAG(mask, getter, setter)                                      \
  int CPrnStaticInfo::getter() const { return (F.Flags & (mask)) ? 1 : 0; } \
  void CPrnStaticInfo::setter(int on) { SetFlag(mask, on); }
#include "orvx/flags.inc"
#undef ORVX_FLAG

namespace orvx {
namespace {
constexpr FlagDesc kFlags[] = {
#define ORVX_FLAG(mask, getter, setter) FlagDesc{#getter, mask, &CPrnStaticInfo::getter, &CPrnStaticInfo::setter},
#include "orvx/flags.inc"
#undef ORVX_FLAG
};
}  // namespace
std::span<const FlagDesc> RecordFlags() { return kFlags; }

const FlagDesc* FindFlag(std::string_view name) {
  for (const auto& f : kFlags)
    if (f.name == name) return &f;
  return nullptr;
}
}  // namespace orvx

// ---- information keys ------------------------------------------------------------
const orvx::FieldDesc* orvx::FieldForKey(DWORD key, bool forSetting) {
  if (key == 0) return nullptr;
  for (const auto& d : orvx::RecordFields())
    if (d.key == key || d.aliasKey == key || (forSetting && d.setOnlyKey == key)) return &d;
  return nullptr;
}

int CPrnStaticInfo::GetInfo(DWORD key) const {
  const orvx::FieldDesc* d = orvx::FieldForKey(key, false);
  if (!d) return -1;
  const std::int64_t v = orvx::ReadField(F, *d);
  if (d->ffMeansUnset && v == 0xFF) return -1;
  return static_cast<int>(static_cast<std::int32_t>(static_cast<std::uint32_t>(v)));
}

int CPrnStaticInfo::SetInfoQuery(DWORD key, DWORD value) {
  const orvx::FieldDesc* d = orvx::FieldForKey(key, true);
  if (!d) return 0;
  orvx::WriteField(F, *d, value);
  return 1;
}

void CPrnStaticInfo::CopyParam(const CPrnStaticInfo* source) {
  if (!source) return;
  // The new block is made before the old one goes, so a self-copy stays valid.
  std::unique_ptr<BYTE[]> block;
  if (source->InTraySPSZSizeList) {
    const std::size_t n = source->InTraySPSZSizeList[0];
    block = std::make_unique<BYTE[]>(n);
    std::memcpy(block.get(), source->InTraySPSZSizeList.get(), n);
  }
  if (source != this) {
    SetModelName(source->ModelName);
    F = source->F;
  }
  InTraySPSZSizeList = std::move(block);
}

// ---- database form -----------------------------------------------------------------
namespace {
using orvx::detail::kFields;

// Byte position of field I in its stream segment (before or after the block).
template <std::size_t I>
constexpr std::size_t StreamOffset() {
  const std::size_t first = I < orvx::kFieldsBeforeBlock ? 0 : orvx::kFieldsBeforeBlock;
  std::size_t at = 0;
  for (std::size_t i = first; i < I; ++i) at += static_cast<std::size_t>(orvx::FieldWidth(kFields[i].type));
  return at;
}

// The field copies are unrolled at compile time: every one is a fixed-size
// move between the stream buffer and the field, its width and both offsets
// constants (so that instrumented builds, too, compare nothing at run time).
template <std::size_t I>
void DecodeField(unsigned char* fields, const BYTE* in) {
  constexpr std::size_t width = static_cast<std::size_t>(orvx::FieldWidth(kFields[I].type));
  constexpr std::size_t from = StreamOffset<I>();
  constexpr std::size_t to = kFields[I].offset;
  std::memcpy(fields + to, in + from, width);
}

template <std::size_t I>
void EncodeField(const unsigned char* fields, BYTE* out) {
  constexpr std::size_t width = static_cast<std::size_t>(orvx::FieldWidth(kFields[I].type));
  constexpr std::size_t to = StreamOffset<I>();
  constexpr std::size_t from = kFields[I].offset;
  std::memcpy(out + to, fields + from, width);
}

template <std::size_t First, std::size_t... I>
void Decode(PrnStaticFields& f, const BYTE* in, std::index_sequence<I...>) {
  auto* base = reinterpret_cast<unsigned char*>(&f);
  (DecodeField<First + I>(base, in), ...);
}

template <std::size_t First, std::size_t... I>
void Encode(const PrnStaticFields& f, BYTE* out, std::index_sequence<I...>) {
  const auto* base = reinterpret_cast<const unsigned char*>(&f);
  (EncodeField<First + I>(base, out), ...);
}

using Head = std::make_index_sequence<orvx::kFieldsBeforeBlock>;
using Tail = std::make_index_sequence<kFields.size() - orvx::kFieldsBeforeBlock>;
constexpr std::size_t kTailFirst = orvx::kFieldsBeforeBlock;
}  // namespace

void CPrnStaticInfo::Serialize(CArchive& ar) {
  std::array<BYTE, orvx::kBytesBeforeBlock> before{};
  std::array<BYTE, orvx::kBytesAfterBlock> after{};
  if (ar.IsStoring()) {
    ar << ModelName;
    Encode<0>(F, before.data(), Head{});
    ar.Write(before.data(), before.size());
    if (InTraySPSZSizeList)
      ar.Write(InTraySPSZSizeList.get(), InTraySPSZSizeList[0]);
    else
      ar << BYTE{0};
    Encode<kTailFirst>(F, after.data(), Tail{});
    ar.Write(after.data(), after.size());
    return;
  }
  CString name;
  ar >> name;
  SetModelName(std::move(name));
  ar.ReadExact(before.data(), before.size());
  Decode<0>(F, before.data(), Head{});
  InTraySPSZSizeList.reset();
  const BYTE length = ar.ReadScalar<BYTE>();
  if (length) {
    auto block = std::make_unique<BYTE[]>(length);
    block[0] = length;
    ar.ReadExact(block.get() + 1, length - 1u);
    InTraySPSZSizeList = std::move(block);
  }
  ar.ReadExact(after.data(), after.size());
  Decode<kTailFirst>(F, after.data(), Tail{});
}
