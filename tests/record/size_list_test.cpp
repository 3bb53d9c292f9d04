#include <gtest/gtest.h>

#include "orvx/prn_static_info.h"
#include "test_util.h"

using orvx_test::Bytes;

namespace {

std::unique_ptr<CPrnStaticInfo> WithBlock(const Bytes& block) {
  auto r = std::make_unique<CPrnStaticInfo>();
  EXPECT_EQ(r->SetInTraySPSZSizeList(static_cast<int>(block.size()), block.data()), static_cast<int>(block.size()));
  return r;
}

// Calls a getter with a null buffer and with a real one; both must agree and
// the real one must return exactly the copied bytes.
template <typename Get>
Bytes Fetch(Get get) {
  const int length = get(nullptr);
  Bytes out(300, 0xEE);
  EXPECT_EQ(get(out.data()), length);
  for (std::size_t i = static_cast<std::size_t>(length); i < out.size(); ++i)
    EXPECT_EQ(out[i], 0xEE) << "byte " << i << " written past the result";
  out.resize(static_cast<std::size_t>(length));
  return out;
}

Bytes ByNumber(const CPrnStaticInfo& r, int tray) {
  return Fetch([&](BYTE* out) { return r.GetInTraySPSZSizeList(tray, out); });
}
Bytes ByName(const CPrnStaticInfo& r, const char* name) {
  return Fetch([&](BYTE* out) { return r.GetInTraySPSZSizeList(name, out); });
}

// A block of one named entry "Cassette 1" with the list 01 02 03.
const Bytes kNamed = {17, 10, 14, 'C', 'a', 's', 's', 'e', 't', 't', 'e', ' ', '1', 0, 1, 2, 3};

}  // namespace

TEST(SizeList, NumberedEntries) {
  const auto r = WithBlock({7, 2, 2, 0x41, 0x42, 5, 0});
  struct Case {
    int tray;
    Bytes list;
  };
  for (const auto& c : {Case{2, {0x41, 0x42}}, Case{5, {}}, Case{3, {}}, Case{258, {}}, Case{-1, {}}, Case{0, {}}}) {
    SCOPED_TRACE(c.tray);
    EXPECT_EQ(ByNumber(*r, c.tray), c.list);
  }
  EXPECT_EQ(Fetch([&](BYTE* out) { return r->GetInTraySPSZSizeList(out); }), (Bytes{7, 2, 2, 0x41, 0x42, 5, 0}));
  EXPECT_EQ(ByNumber(*WithBlock({4, 0, 1, 9}), 0), Bytes{9});  // tray number 0 is a tray like any other
  // The first entry is not named, so a name search gives up at once.
  EXPECT_EQ(ByName(*r, ""), Bytes{});
}

TEST(SizeList, NamedEntries) {
  const auto r = WithBlock(kNamed);
  struct Case {
    const char* name;
    Bytes list;
  };
  for (const auto& c : {Case{"cassette 1", {1, 2, 3}}, Case{"CASSETTE 1", {1, 2, 3}},
                        Case{"Cassette 1 Lower", {1, 2, 3}}, Case{"Cassette", {}}, Case{"Cassette 2", {}},
                        Case{"", {}}}) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ByName(*r, c.name), c.list);
  }
  EXPECT_EQ(r->GetInTraySPSZSizeList(static_cast<const char*>(nullptr), nullptr), 0);
  // By number, key 10 is just a tray number: the whole payload comes back.
  EXPECT_EQ(ByNumber(*r, 10), Bytes(kNamed.begin() + 3, kNamed.end()));
}

TEST(SizeList, NameSearchWalksNamedEntriesAndStopsAtOthers) {
  // "Tray 1" [5], then an empty stored name (matches everything) [6 7],
  // then a numbered entry, then "Tray 9" that is never reached.
  const Bytes block = {26, 10, 8, 'T', 'r', 'a', 'y', ' ', '1', 0, 5, 10, 3, 0, 6, 7,
                       3, 1, 9, 10, 6, 'T', 'r', 'a', 'y', 0};
  ASSERT_EQ(block.size(), 26u);
  const auto r = WithBlock(block);
  EXPECT_EQ(ByName(*r, "tray 1"), Bytes{5});
  EXPECT_EQ(ByName(*r, "Bypass"), (Bytes{6, 7}));
  EXPECT_EQ(ByNumber(*r, 3), Bytes{9});
}

TEST(SizeList, MalformedBlocksNeverLeaveTheBlock) {
  struct Case {
    const char* what;
    Bytes block;
    int tray;
    const char* name;
    Bytes byNumber;
    Bytes byName;
  };
  const Case cases[] = {
      {"payload runs past L", {5, 1, 9, 0x41, 0x42}, 1, "x", {}, {}},
      {"second entry runs past L", {6, 1, 1, 0x41, 2, 7}, 2, "x", {}, {}},
      {"entry header cut by L", {4, 1, 0, 2}, 2, "x", {}, {}},
      {"named entry without zero byte", {6, 10, 3, 'a', 'b', 'c'}, 10, "abc", {'a', 'b', 'c'}, {}},
      {"named entry payload past L", {5, 10, 9, 'a', 0}, 10, "a", {}, {}},
      {"length byte only", {1}, 0, "", {}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const auto r = WithBlock(c.block);
    EXPECT_EQ(ByNumber(*r, c.tray), c.byNumber);
    EXPECT_EQ(ByName(*r, c.name), c.byName);
    EXPECT_EQ(Fetch([&](BYTE* out) { return r->GetInTraySPSZSizeList(out); }), c.block);
  }
}

TEST(SizeList, SetKeepsTheBlockConsistentWithItsLengthByte) {
  struct Case {
    const char* what;
    Bytes source;
    int length;
    int result;
    Bytes stored;
  };
  const Case cases[] = {
      {"well formed", {3, 1, 0}, 3, 3, {3, 1, 0}},
      {"byte 0 says less: cut to byte 0", {3, 1, 0, 0x99, 0x99}, 5, 3, {3, 1, 0}},
      {"byte 0 says more: cut to length", {9, 1, 1, 0x41}, 4, 4, {4, 1, 1, 0x41}},
      {"byte 0 is zero: no block", {0, 1, 0}, 3, 0, {}},
      {"length zero: no block", {3, 1, 0}, 0, 0, {}},
      {"negative length: no block", {3, 1, 0}, -4, 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CPrnStaticInfo r;
    const BYTE old[] = {2, 7};
    r.SetInTraySPSZSizeList(2, old);
    EXPECT_EQ(r.SetInTraySPSZSizeList(c.length, c.source.data()), c.result);
    EXPECT_EQ(Fetch([&](BYTE* out) { return r.GetInTraySPSZSizeList(out); }), c.stored);
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

TEST(SizeList, RemovingTheBlockEmptiesEveryGetter) {
  auto r = WithBlock(kNamed);
  EXPECT_EQ(r->SetInTraySPSZSizeList(0, kNamed.data()), 0);
  EXPECT_EQ(r->GetInTraySPSZSizeList(nullptr), 0);
  EXPECT_EQ(r->GetInTraySPSZSizeList(10, nullptr), 0);
  EXPECT_EQ(r->GetInTraySPSZSizeList("Cassette 1", nullptr), 0);
}
