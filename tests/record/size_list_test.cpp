// Per-tray paper-size lists: found by tray number or by name, never read
// past the block, stored consistently with the block's own length byte.
#include <gtest/gtest.h>

#include <variant>

#include "orvx/prn_static_info.h"
#include "test_util.h"

using orvx_test::Bytes;

namespace {

// Calls a getter with a null buffer and with a real one; both must agree and
// the real one must write exactly the bytes it reports.
template <typename Get>
Bytes Fetch(Get get) {
  const int length = get(nullptr);
  Bytes out(300, 0xEE);
  EXPECT_EQ(get(out.data()), length);
  EXPECT_EQ(Bytes(out.begin() + length, out.end()), Bytes(out.size() - static_cast<std::size_t>(length), 0xEE));
  out.resize(static_cast<std::size_t>(length));
  return out;
}

// "Cassette 1" lists 01 02 03.
const Bytes kNamed = {17, 10, 14, 'C', 'a', 's', 's', 'e', 't', 't', 'e', ' ', '1', 0, 1, 2, 3};
// Trays 2 (41 42) and 5 (empty).
const Bytes kNumbered = {7, 2, 2, 0x41, 0x42, 5, 0};
// "Tray 1" [5], then an empty stored name (matches everything) [6 7], then
// tray 3 [9], then "Tray" that a name search never reaches.
const Bytes kWalk = {26, 10, 8, 'T', 'r', 'a', 'y', ' ', '1', 0, 5, 10, 3, 0, 6, 7, 3, 1, 9, 10, 6, 'T', 'r', 'a', 'y', 0};

}  // namespace

TEST(SizeList, ByNumberAndByName) {
  struct Case {
    Bytes block;
    std::variant<int, const char*> tray;
    Bytes list;
  };
  const Case cases[] = {
      {kNumbered, 2, {0x41, 0x42}}, {kNumbered, 5, {}}, {kNumbered, 3, {}}, {kNumbered, 258, {}},
      {kNumbered, -1, {}}, {kNumbered, 0, {}}, {{4, 0, 1, 9}, 0, {9}},  // tray number 0 is a tray like any other
      {kNumbered, "", {}},  // the first entry is not named: a name search gives up at once
      {kNamed, "cassette 1", {1, 2, 3}}, {kNamed, "CASSETTE 1", {1, 2, 3}}, {kNamed, "Cassette 1 Lower", {1, 2, 3}},
      {kNamed, "Cassette", {}}, {kNamed, "Cassette 2", {}}, {kNamed, "", {}},
      {kNamed, 10, Bytes(kNamed.begin() + 3, kNamed.end())},  // by number, key 10 is a tray number
      {kWalk, "tray 1", {5}}, {kWalk, "Bypass", {6, 7}}, {kWalk, 3, {9}},
      // Malformed blocks: nothing comes from past their length byte.
      {{5, 1, 9, 0x41, 0x42}, 1, {}}, {{5, 1, 9, 0x41, 0x42}, "x", {}},  // a payload past the end
      {{6, 1, 1, 0x41, 2, 7}, 2, {}}, {{6, 1, 1, 0x41, 2, 7}, "x", {}},  // the second entry's
      {{4, 1, 0, 2}, 2, {}},                                             // an entry header cut
      {{6, 10, 3, 'a', 'b', 'c'}, 10, {'a', 'b', 'c'}}, {{6, 10, 3, 'a', 'b', 'c'}, "abc", {}},  // a name without zero
      {{5, 10, 9, 'a', 0}, 10, {}}, {{5, 10, 9, 'a', 0}, "a", {}},  // a named entry past the end
      {{1}, 0, {}}, {{1}, "", {}},                                    // the length byte only
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.block) + " " + testing::PrintToString(c.tray));
    CPrnStaticInfo r;
    ASSERT_EQ(r.SetInTraySPSZSizeList(static_cast<int>(c.block.size()), c.block.data()), static_cast<int>(c.block.size()));
    if (const int* number = std::get_if<int>(&c.tray))
      EXPECT_EQ(Fetch([&](BYTE* out) { return r.GetInTraySPSZSizeList(*number, out); }), c.list);
    else
      EXPECT_EQ(Fetch([&](BYTE* out) { return r.GetInTraySPSZSizeList(std::get<const char*>(c.tray), out); }), c.list);
    EXPECT_EQ(Fetch([&](BYTE* out) { return r.GetInTraySPSZSizeList(out); }), c.block);
  }
  // No name, or no block: nothing.
  CPrnStaticInfo r;
  EXPECT_EQ(r.GetInTraySPSZSizeList("Cassette 1", nullptr), 0);
  r.SetInTraySPSZSizeList(static_cast<int>(kNamed.size()), kNamed.data());
  EXPECT_EQ(r.GetInTraySPSZSizeList(static_cast<const char*>(nullptr), nullptr), 0);
}

TEST(SizeList, SetKeepsTheBlockConsistentWithItsLengthByte) {
  struct Case {
    Bytes source;
    int length;
    int result;
    Bytes stored;
  };
  const Case cases[] = {
      {{3, 1, 0}, 3, 3, {3, 1, 0}},
      {{3, 1, 0, 0x99, 0x99}, 5, 3, {3, 1, 0}},  // byte 0 says less: cut to byte 0
      {{9, 1, 1, 0x41}, 4, 4, {4, 1, 1, 0x41}},   // byte 0 says more: cut to the length
      {{0, 1, 0}, 3, 0, {}},                      // byte 0 is zero, the length zero or less: no block
      {{3, 1, 0}, 0, 0, {}},
      {{3, 1, 0}, -4, 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.source) + " " + std::to_string(c.length));
    CPrnStaticInfo r;
    r.SetInTraySPSZSizeList(static_cast<int>(kNamed.size()), kNamed.data());  // replaced, or removed
    EXPECT_EQ(r.SetInTraySPSZSizeList(c.length, c.source.data()), c.result);
    EXPECT_EQ(Fetch([&](BYTE* out) { return r.GetInTraySPSZSizeList(out); }), c.stored);
    EXPECT_EQ(r.GetInTraySPSZSizeList(10, nullptr) + r.GetInTraySPSZSizeList("Cassette 1", nullptr), 0);
    // Whatever is stored, the record serializes to something that loads back.
    const auto bytes = orvx_test::StoreRecord(r);
    CMemFile f(bytes);
    CArchive ar(&f, CArchive::load);
    CPrnStaticInfo back;
    back.Serialize(ar);
    EXPECT_EQ(ar.GetPosition(), bytes.size());
  }
  CPrnStaticInfo r;
  EXPECT_EQ(r.SetInTraySPSZSizeList(3, nullptr), 0);
}
