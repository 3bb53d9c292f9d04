#include <gtest/gtest.h>

#include <set>

#include "orvx/prn_static_info.h"
#include "stream_layout.h"
#include "test_util.h"

namespace {

enum Kind { S8, U8, U16, S16, U32, NotSet };
struct Key {
  DWORD key;
  const char* field;
  Kind kind;
};

// Every information key, its field and how GetInfo widens it.
const Key kKeys[] = {
    {0x0105, "Info0105", S8},       {0x0108, "Info0108", S8},       {0x0110, "Info0110", U8},
    {0x0203, "Info0203", S8},       {0x0301, "Info0301", S8},       {0x0302, "Info0302", S8},
    {0x0303, "Info0303", S8},       {0x0304, "Info0304", S8},       {0x1008, "Info0304", S8},
    {0x0305, "Info0305", S8},       {0x0308, "Info0308", S8},       {0x0401, "Info0401", S8},
    {0x040A, "Info040A", NotSet},   {0x0501, "Info0501", S8},       {0x0608, "Info0608", S8},
    {0x0705, "Info0705", S8},       {0x0707, "Info0707", S8},       {0x0711, "Info0711", S8},
    {0x0A01, "Info0A01", S8},       {0x0A02, "Info0A02", S8},       {0x0A03, "Info0A03", S8},
    {0x0A04, "Info0A04", S8},       {0x0B01, "Info0B01", S8},       {0x0B02, "Info0B02", S8},
    {0x0B03, "Info0B03", S8},       {0x0B05, "Info0B05", S8},       {0x0B0A, "Info0B0A", S8},
    {0x0B0C, "Info0B0C", U8},       {0x0C01, "Info0C01", S8},       {0x0C02, "Info0C02", S8},
    {0x0D08, "Info0D08", U16},      {0x1134, "Info1134", U8},       {0x10000, "Info10000", S8},
    {0x20000, "Info20000", S8},     {0x30000, "Info30000", S8},     {0x70000, "Info70000", S8},
    {0x220000, "Info220000", U8},   {0x230000, "Info230000", U8},   {0x310000, "Info310000", U8},
    {0x1200000, "Info1200000", U32}, {0x1210000, "Info1210000", U32}, {0x1220000, "Info1220000", U32},
    {0x1230000, "Info1230000", U32}, {0x1310000, "Info1310000", U8}, {0x1320000, "Info1320000", U8},
    {0x1330000, "Info1330000", U8}, {0x1400000, "Info1400000", S16}, {0x1510000, "Info1510000", S8},
    {0x1520000, "Info1520000", U16}, {0x1530000, "Info1530000", S16}, {0x1610000, "Info1610000", U16},
    {0x1620000, "Info1620000", U16},
};

int Expected(Kind kind, DWORD value) {
  switch (kind) {
    case S8: return static_cast<std::int8_t>(value);
    case U8: return static_cast<BYTE>(value);
    case U16: return static_cast<WORD>(value);
    case S16: return static_cast<std::int16_t>(value);
    case U32: return static_cast<int>(value);
    case NotSet: return static_cast<BYTE>(value) == 0xFF ? -1 : static_cast<BYTE>(value);
  }
  return 0;
}

const orvx_test::StreamField& Layout(std::string_view field) {
  for (const auto& f : orvx_test::kStreamLayout)
    if (f.name == field) return f;
  throw std::logic_error("no such field");
}

}  // namespace

// Each key stores at its field's width, reads back widened as its field is
// signed or not, and changes exactly the stream bytes of the field it names.
TEST(Info, EveryKeyWritesItsOwnFieldAtItsWidth) {
  ASSERT_EQ(std::size(kKeys), 52u);
  CPrnStaticInfo plain;
  plain.SetModelName("");
  const auto before = orvx_test::StoreRecord(plain);
  for (const auto& k : kKeys) {
    for (const DWORD value : {DWORD{0x12345687}, DWORD{0xFFFF8601}, DWORD{0x7F}, DWORD{0xFFFFFFFF}, DWORD{0}}) {
      SCOPED_TRACE(testing::Message() << std::hex << k.key << " = " << value);
      CPrnStaticInfo r;
      r.SetModelName("");
      EXPECT_EQ(r.SetInfoQuery(k.key, value), 1);
      EXPECT_EQ(r.GetInfo(k.key), Expected(k.kind, value));
      auto expected = before;
      const auto& f = Layout(k.field);
      for (int i = 0; i < f.width; ++i) expected[orvx_test::AbsoluteOffset(f) + i] = static_cast<BYTE>(value >> (8 * i));
      EXPECT_EQ(orvx_test::StoreRecord(r), expected);
    }
  }
}

TEST(Info, UnlistedKeysAndTheSetOnlyAlias) {
  CPrnStaticInfo r;
  std::set<DWORD> listed;
  for (const auto& k : kKeys) listed.insert(k.key);
  // Neighbours of every listed key (and a few others) are not keys.
  for (const auto& k : kKeys) {
    for (const DWORD probe : {k.key - 1, k.key + 1, k.key | 0x80000000}) {
      if (listed.count(probe) || probe == 0x0481) continue;
      EXPECT_EQ(r.GetInfo(probe), -1) << std::hex << probe;
      EXPECT_EQ(r.SetInfoQuery(probe, 1), 0) << std::hex << probe;
    }
  }
  EXPECT_EQ(r.GetInfo(0), -1);
  EXPECT_EQ(r.SetInfoQuery(0x0106, 5), 0);

  // 0x0481 writes the field of 0x040A but is not a key for reading.
  EXPECT_EQ(r.GetInfo(0x040A), -1);
  EXPECT_EQ(r.SetInfoQuery(0x0481, 7), 1);
  EXPECT_EQ(r.GetInfo(0x040A), 7);
  EXPECT_EQ(r.GetInfo(0x0481), -1);
  EXPECT_EQ(r.SetInfoQuery(0x040A, 0xFFFFFFFF), 1);
  EXPECT_EQ(r.GetInfo(0x040A), -1);
  EXPECT_EQ(r.SetInfoQuery(0x040A, 254), 1);
  EXPECT_EQ(r.GetInfo(0x040A), 254);

  EXPECT_EQ(r.SetInfoQuery(0x1008, 3), 1);
  EXPECT_EQ(r.GetInfo(0x0304), 3);
}

TEST(CopyParam, CopiesEveryFieldAndTheBlock) {
  CPrnStaticInfo source;
  source.SetModelName("Vantor LP-1100");
  source.SetPicNameHead("GV23");
  source.SetBasedModelGroupID(19);
  source.SetIconBaseIdx(9);
  source.Fields().Flags = 0xABCD1234;
  source.Fields().SpareByte = 0x42;
  for (const auto& k : kKeys) source.SetInfoQuery(k.key, k.key * 2654435761u);
  const BYTE block[] = {7, 2, 2, 0x41, 0x42, 5, 0};
  source.SetInTraySPSZSizeList(7, block);
  const auto expected = orvx_test::StoreRecord(source);

  CPrnStaticInfo target;
  const BYTE other[] = {3, 9, 0};
  target.SetInTraySPSZSizeList(3, other);
  target.CopyParam(&source);
  EXPECT_EQ(orvx_test::StoreRecord(target), expected);
  EXPECT_EQ(orvx_test::StoreRecord(source), expected);  // the source is untouched

  // Self-copy keeps a valid block.
  target.CopyParam(&target);
  EXPECT_EQ(orvx_test::StoreRecord(target), expected);

  // No block in the source: none in the target.
  CPrnStaticInfo empty;
  target.CopyParam(&empty);
  EXPECT_EQ(target.GetInTraySPSZSizeList(nullptr), 0);
  EXPECT_EQ(target.GetModelName(), "Other Printer");
}
