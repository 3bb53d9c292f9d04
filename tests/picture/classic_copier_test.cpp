// Classic rules of the copier line, through GetPictureID (vendor 2).
#include "picture_harness.h"

using namespace picture_test;

namespace {
constexpr bool kClassic = false;

// `count` in-trays named `name`, and the IDs 21, 22, ... they should get.
std::pair<std::vector<T>, std::vector<int>> Drawers(const char* name, int count) {
  std::vector<T> trays;
  std::vector<int> ids;
  for (int i = 0; i < count; ++i) {
    trays.push_back(name);
    ids.push_back(21 + i);
  }
  return {trays, ids};
}

void CheckDrawerCounts(int group, const char* name, std::initializer_list<std::pair<int, DWORD>> counts) {
  for (const auto& [n, bits] : counts) {
    SCOPED_TRACE(testing::Message() << name << " x" << n);
    const auto [trays, ids] = Drawers(name, n);
    Check({.vendor = 2, .group = group, .in = trays}, {bits, ids, {}}, kClassic);
  }
}
}  // namespace

TEST(ClassicCopier, Bunting) {
  CheckDrawerCounts(1, "Drawer", {{1, 0}, {2, 0x4003}, {3, 0}, {4, 0x400C}, {5, 0}});
  CheckAll({
      {"feeders and out-trays; unknown out-trays get -1",
       {.vendor = 2, .group = 1, .in = {"3000 Sheet", "Large", "Bypass", "Cassette"},
        .out = {"Finisher", "Mailbox", "Inner Tray", "Face Down", T("Face Up").Id(7)}},
       {0x301100, {32, 32, 31, -1}, {84, 87, 51, -1, -1}}},
  }, kClassic);
}

TEST(ClassicCopier, Redshank) {
  for (const int group : {6, 7, 8}) {
    SCOPED_TRACE(group);
    CheckAll({
        {"bypass, two trays, duplex", {.vendor = 2, .group = group, .in = {"Bypass", "Tray 1", "Tray 2"}, .duplexUnit = 1},
         {0x11003, {31, 21, 22}, {}}},
        {"out-trays", {.vendor = 2, .group = group, .out = {"V-9452", "Finisher", "Job Separator", "Face Down", "Face Up"}},
         {0xD00000, {}, {89, 89, 90, 51, -1}}},
    }, kClassic);
    CheckDrawerCounts(group, "Tray", {{0, 0}, {1, 0x1}, {2, 0x3}, {3, 0x7}, {4, 0xF}, {5, 0}});
  }
}

TEST(ClassicCopier, TernAndIbis) {
  CheckDrawerCounts(4, "Tray", {{1, 0}, {2, 0x3}, {3, 0xF}, {4, 0xF}, {5, 0}});
  CheckAll({
      {"Tern feeders", {.vendor = 2, .group = 4, .in = {"3000", "Large", "NN-37", "Side Feeder", "Bypass"}},
       {0x1300, {32, 32, 88, 88, 31}, {}}},
      {"Tern out-trays",
       {.vendor = 2, .group = 4, .out = {"V-3307", "V-3564", "Finisher", "Booklet", "Left Tray", "Mailbox", "R-9591"}},
       {0xB00000, {}, {84, 84, 84, 85, 50, 87, 87}}},
      {"Ibis large feeder", {.vendor = 2, .group = 2, .in = {"Large Capacity", "Bypass"}}, {0x1103, {32, 31}, {}}},
      {"Ibis knows no mailbox", {.vendor = 2, .group = 3, .out = {"Finisher", "Bookle", "Left", "Mailbox"}},
       {0x300000, {}, {84, 85, 50, -1}}},
  }, kClassic);
  for (const int group : {2, 3}) CheckDrawerCounts(group, "Tray", {{1, 0}, {2, 0x4003}, {3, 0x400F}, {4, 0x400F}, {5, 0}});
}

TEST(ClassicCopier, Quail) {
  for (const int group : {9, 15}) {
    CheckDrawerCounts(group, "Cassette", {{1, 0x10001}, {2, 0x3}, {3, 0x10007}, {4, 0xF}, {5, 0}});
    CheckAll({
        {"in-trays", {.vendor = 2, .group = group, .in = {"Bypass", "Bypa Tray", "Feeder", "GX-81"}},
         {0x1003, {31, -1, 21, 22}, {}}},
        {"out-trays", {.vendor = 2, .group = group, .out = {"Face-u", "Face D", "V-3084", "HI-24", "HI-24A", "Document"}},
         {0x100000, {}, {50, 51, 86, 86, -1, 86}}},
    }, kClassic);
  }
}

TEST(ClassicCopier, Avocet) {
  CheckAll({
      {"no in-trays: 0x100F", {.vendor = 2, .group = 13}, {0x100F, {}, {}}},
      {"unmatched in-trays: 0x100F", {.vendor = 2, .group = 13, .in = {"Tray 1"}}, {0x100F, {-1}, {}}},
      {"six cassettes: the sixth is the side feeder",
       {.vendor = 2, .group = 13, .in = {"Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4", "Cassette 5", "Cassette 6"}},
       {0x21F, {21, 22, 23, 24, 25, 88}, {}}},
      {"bypass and side feeder", {.vendor = 2, .group = 13, .in = {"Bypass", "NN-37"}}, {0x1200, {31, 88}, {}}},
      {"three finisher trays", {.vendor = 2, .group = 13, .in = {"Bypass"}, .out = {"Multi F1", "Sub Tray", "HI-372"}},
       {0x501000, {31}, {91, 91, 91}}},
      {"four finisher trays add 0x200000",
       {.vendor = 2, .group = 13, .in = {"Bypass"}, .out = {"Multi F", "Multi F", "Multi F", "Multi F"}},
       {0x701000, {31}, {91, 91, 91, 91}}},
      {"other out-trays", {.vendor = 2, .group = 13, .in = {"Bypass"}, .out = {"Face-d", "Face-u", "HI-331", "Finisher",
                                                                              "RJ-7", "Multi Tray", "Face Down"}},
       {0x941000, {31}, {51, 51, 91, 91, 92, 92, -1}}},
  }, kClassic);
}

TEST(ClassicCopier, AukletChoosesItsTableByTheFifthTray) {
  CheckAll({
      {"fifth tray Cassette 4", {.vendor = 2, .group = 14, .in = {"Bypass", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4"}},
       {0x100F, {31, 21, 22, 23, 24}, {}}},
      {"fifth tray Cassette 4, then one more",
       {.vendor = 2, .group = 14, .in = {"Bypass", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4", "Cassette 5"}},
       {0x120F, {31, 21, 22, 23, 24, 88}, {}}},
      {"three cassettes", {.vendor = 2, .group = 14, .in = {"Cassette 1", "Cassette 2", "Cassette 3"}},
       {0x103, {32, 21, 22}, {}}},
      {"five cassettes, fifth not Cassette 4",
       {.vendor = 2, .group = 14, .in = {"Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4", "Cassette 5"}},
       {0x303, {32, 21, 22, 88, -1}, {}}},
      {"fifth tray Cassette 4 with a feeder first",
       {.vendor = 2, .group = 14, .in = {"NN-37", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4"}},
       {0x20F, {88, 21, 22, 23, 24}, {}}},
      {"nothing recognised", {.vendor = 2, .group = 14, .in = {"Tray"}, .duplexUnit = 1}, {0x100F, {-1}, {}}},
      {"out-trays", {.vendor = 2, .group = 14, .in = {"Bypass"},
                     .out = {"Face-u", "Sub T", "Sub T", "Sub T", "Sub T", "RJ-7", "HI-331"}},
       {0xF41000, {31}, {51, 91, 91, 91, 91, 92, -1}}},
  }, kClassic);
}

TEST(ClassicCopier, FixedAndUnlistedGroups) {
  for (const int group : {5, 11, 12}) {
    SCOPED_TRACE(group);
    const Outcome o = Call({.vendor = 2, .group = group, .in = {T("Optional Cassette 1").Id(3)}, .out = {"Optional Tray"}},
                           kClassic);
    EXPECT_EQ(o.result, 0x800u);
    EXPECT_EQ(o.inIds, std::vector<int>{3});
    EXPECT_EQ(o.inNames, std::vector<std::string>{"Optional Cassette 1"});
    EXPECT_EQ(o.outNames, std::vector<std::string>{"Optional Tray"});
  }
  for (const int group : {0, 16, 17, 300}) {
    SCOPED_TRACE(group);
    Check({.vendor = 2, .group = group, .in = {"Bypass"}}, {0, {-1}, {}}, kClassic);
  }
}
