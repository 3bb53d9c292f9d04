// Classic rules of the printer line, through GetPictureID (vendor 1).
#include "orvx/afx_host.h"
#include "picture_harness.h"

using namespace picture_test;

namespace {
constexpr bool kClassic = false;

class ClassicPrinter : public testing::Test {
 protected:
  void SetUp() override {
    orvx::host::SetStringResource(9481, "Manual Feeder");
    orvx::host::SetStringResource(9482, "Standard Tray");
  }
  void TearDown() override { orvx::host::ClearStringResources(); }
};
}  // namespace

TEST_F(ClassicPrinter, Jacana) {
  CheckAll({
      {"every in-tray row",
       {.group = 1, .in = {"Internal Tray", "Manual Feed", "Default Tray", "BC Tray", "GX-401", "GX-402", "GX-100",
                           "Cassette", "Multi Purpose Tray"}},
       {0x1907, {20, 10, 20, 11, 21, 22, 10, -1, 12}, {}}},
      {"an in-tray with a unit is the GX-1 feeder", {.group = 1, .in = {T("Multi Purpose Tray").Unit(1)}},
       {0x100, {10}, {}}},
      {"out-trays, duplex, and outputUnit without a stacker",
       {.group = 1, .out = {"Face Up Tray", "Face Down Tray", "NE-01", "NN-720"}, .duplexUnit = 1, .outputUnit = 1},
       {0x118000, {}, {50, 51, 56, 73}}},
      {"unit 0x6: the IL-2 stacker with its second bin", {.group = 1, .out = {T("Face Up").Unit(6)}, .outputUnit = 1},
       {0x600000, {}, {6}}},
      {"unit 0x3: IL-4", {.group = 1, .out = {T("Face Up").Unit(3)}}, {0x8000, {}, {1}}},
      {"unit 0x4 alone keeps the name", {.group = 1, .out = {T("Face Up Tray").Unit(4)}}, {0, {}, {50}}},
      {"IL-2 without a unit", {.group = 1, .out = {"IL-2 Stacker"}, .outputUnit = 1}, {0x200000, {}, {2}}},
      {"nothing installed", {.group = 1, .duplexUnit = 1, .outputUnit = 2}, {0x18000, {}, {}}},
  }, kClassic);
  const Outcome o = Call({.group = 1, .in = {T("Multi").Unit(1), "Manual", "Default"},
                          .out = {T("a").Unit(1), T("b").Unit(2), T("c").Unit(4)}}, kClassic);
  EXPECT_EQ(o.inNames, (std::vector<std::string>{"GX-1", "Manual Feeder", "Standard Tray"}));
  EXPECT_EQ(o.outNames, (std::vector<std::string>{"IL-4", "IL-2", "c"}));
}

TEST_F(ClassicPrinter, Crake) {
  CheckAll({
      {"every row", {.group = 2, .in = {"Multi", "Internal", "Manual", "Default", "BC", "GX", "GX-9", "Feed"},
                     .out = {"Face Up Tray", "Face Down Tray", "NE-01"}, .duplexUnit = 1, .outputUnit = 1},
       {0x1807, {12, 20, 10, 20, 11, 21, 22, -1}, {50, 51, -1}}},
  }, kClassic);
}

TEST_F(ClassicPrinter, Finch) {
  for (const int group : {3, 4}) {
    SCOPED_TRACE(group);
    CheckAll({
        {"in-trays", {.group = group, .in = {"Multi", "Inte", "Defa", "Envelope", "GX-01", "Feeder", "GX-1", "GX"}},
         {0x1907, {12, 20, 20, 11, 21, 22, 30, -1}, {}}},
        {"face-up tray becomes the output unit's tray", {.group = group, .out = {"Face Up Tray"}, .outputUnit = 1},
         {0x8000, {}, {70}}},
        {"outputUnit 2 renames nothing", {.group = group, .out = {"Face Up Tray"}, .outputUnit = 2},
         {0x8000, {}, {50}}},
        {"a stacker suppresses the final 0x8000", {.group = group, .out = {"IL-2C"}, .outputUnit = 1},
         {0x200000, {}, {72}}},
        {"other out-trays and duplex", {.group = group, .out = {"Face Down", "NE-0", "NN-72", "IL-15"}, .duplexUnit = 3},
         {0x118000, {}, {51, 56, 73, 70}}},
    }, kClassic);
  }
  const Outcome o = Call({.group = 3, .out = {"Face Up Tray", "Face Up Tray 2"}, .outputUnit = 1}, kClassic);
  EXPECT_EQ(o.outNames, (std::vector<std::string>{"IL-15 / IL-17", "Face Up Tray 2"}));
}

TEST_F(ClassicPrinter, VireoDrawerPairs) {
  const std::pair<int, DWORD> counts[] = {{1, 0}, {2, 0x3}, {3, 0x3}, {4, 0xF}, {5, 0xF}, {6, 0x3F}, {7, 0x3F}, {8, 0}};
  for (const auto& [n, bits] : counts) {
    SCOPED_TRACE(n);
    Request r{.group = 5};
    std::vector<int> ids;
    for (int i = 0; i < n; ++i) {
      r.in.push_back(i % 2 ? "Feeder" : "GX-89");
      ids.push_back(21 + i);
    }
    Check(r, {bits, ids, {}}, kClassic);
  }
  CheckAll({{"other in-trays", {.group = 5, .in = {"Multi", "BC-8", "Envelope", "BC-7"}}, {0x1800, {12, 11, 11, -1}, {}}}},
           kClassic);
}

TEST_F(ClassicPrinter, VireoOutTraysAndDeliverySuffix) {
  CheckAll({
      {"every out-tray row",
       {.group = 5, .out = {"Face U", "Face D", "NN-94", "NN-931", "HI-22", "NE-99", "Stacker 1", "Document Finisher",
                            "9bin Sorter"}},
       {0x700000, {}, {50, 51, 82, 82, 81, 83, 82, 81, 83}}},
  }, kClassic);
  const Outcome o = Call({.group = 5, .out = {T("NN-93").Delivery(3), T("NN-94").Delivery(4), T("NN-93").Delivery(2),
                                              T("NN-93 Face Up").Delivery(3)}},
                         kClassic);
  EXPECT_EQ(o.result, 0x100000u);
  EXPECT_EQ(o.outIds, (std::vector<int>{82, 82, 82, 82}));
  EXPECT_EQ(o.outNames, (std::vector<std::string>{"NN-93 Face Up", "NN-94 Face Down", "NN-93", "NN-93 Face Up"}));
}

TEST_F(ClassicPrinter, FulmarHasNoDrawerCounter) {
  for (const int group : {6, 7, 11, 14}) {
    SCOPED_TRACE(group);
    CheckAll({
        {"rows", {.group = group, .in = {"Manual", "Multi", "GX-1", "GX-2", "Cassette 1", "Cassette 2", "Cassette 3",
                                         "Cassette 1 "},
                  .out = {"Face Down", "Face Up", "Face-u"}, .duplexUnit = 1},
         {0x803, {12, 12, 21, 21, 20, 21, -1, -1}, {51, 50, -1}}},
    }, kClassic);
  }
  EXPECT_EQ(Call({.group = 6, .in = {"Default", "Manual"}}, kClassic).inNames,
            (std::vector<std::string>{"Standard Tray", "Manual"}));
}

TEST_F(ClassicPrinter, EgretMallardDipper) {
  CheckAll({
      {"Egret", {.group = 8, .in = {"Multi", "GX-a", "Feed", "Cassette 1", "Inte"}, .out = {"Face Up"}, .duplexUnit = 1},
       {0x10807, {12, 21, 22, -1, 20}, {50}}},
      {"Egret 9, default tray", {.group = 9, .in = {"Default"}}, {0x1, {20}, {}}},
      {"Mallard, one drawer: no bit", {.group = 10, .in = {"GX-1"}, .duplexUnit = 1}, {0, {21}, {}}},
      {"Mallard, two drawers", {.group = 10, .in = {"GX-1", "Feed"}}, {0x4, {21, 22}, {}}},
      {"Mallard, three drawers and other rows", {.group = 10, .in = {"Multi", "Inte", "Defa", "GX", "GX", "GX"}},
       {0x805, {12, 20, 20, 21, 22, 23}, {}}},
      {"Dipper, cassettes and a large feeder", {.group = 12, .in = {"Cassette 1", "Cassette 2", "GX-3"}},
       {0x103, {20, 21, 30}, {}}},
      {"Dipper, GX drawers", {.group = 17, .in = {"GX-1", "GX-0", "Feed", "GX"}}, {0x1E, {21, 22, 23, 24}, {}}},
      {"Dipper, other in-trays", {.group = 12, .in = {"Multi", "Inte", "Defa", "Envelope", "GX-7", "Bulk"}},
       {0x1901, {12, 20, 20, 11, 30, 30}, {}}},
      {"Dipper, out-trays and duplex",
       {.group = 12, .out = {"Face-u", "Rear Tray", "Top Tray", "NE", "5bin", "IL", "Paper Deck", "Bulk", "Face Left"},
        .duplexUnit = 1},
       {0x310000, {}, {50, 50, 51, 57, 57, 72, 72, 72, -1}}},
  }, kClassic);
}

TEST_F(ClassicPrinter, CurlewLowBitsPlusOddBit) {
  const DWORD expected[] = {0, 0x10001, 0x3, 0x10007, 0xF, 0x1001F, 0x3F, 0, 0};
  for (int n = 0; n <= 8; ++n) {
    SCOPED_TRACE(n);
    Request r{.group = 13};
    std::vector<int> ids;
    const char* names[] = {"Cassette", "GX-1", "Feeder"};
    for (int i = 0; i < n; ++i) {
      r.in.push_back(names[i % 3]);
      ids.push_back(21 + i);
    }
    Check(r, {expected[n], ids, {}}, kClassic);
  }
  CheckAll({{"out-trays", {.group = 13, .in = {"Multi"}, .out = {"Face-u", "Face-d", "NN-9", "Stac", "HI-2", "Docu",
                                                                 "NE-9", "9bin", "NN-8"}},
             {0x700800, {12}, {50, 51, 82, 82, 81, 81, 83, 83, -1}}}},
           kClassic);
}

TEST_F(ClassicPrinter, GrebeAndBitternFourthOfFour) {
  for (const auto& [vendor, group] : {std::pair{1, 15}, std::pair{2, 10}}) {
    SCOPED_TRACE(vendor);
    CheckAll({
        {"fourth of four is the large feeder", {.vendor = vendor, .group = group, .in = {"Multi", "Casse", "Casse", "Casse"}},
         {0x1103, {31, 21, 22, 32}, {}}},
        {"fourth of five is a drawer",
         {.vendor = vendor, .group = group, .in = {"Multi", "Casse", "Casse", "Casse", "Casse"}},
         {0x100F, {31, 21, 22, 23, 24}, {}}},
        {"fourth of four matching no feeder word",
         {.vendor = vendor, .group = group, .in = {"Bypass", "GX-13", "RL-20", "Feed"}}, {0x1003, {31, 21, 22, -1}, {}}},
        {"feeder words", {.vendor = vendor, .group = group, .in = {"Feed", "Feed", "Feed", "Large"}},
         {0x107, {21, 22, 23, 32}, {}}},
        {"out-trays",
         {.vendor = vendor, .group = group, .out = {"Face Up", "Face-d", "Booklet", "HI-04", "Inner", "Job Separator",
                                                    "Mailbox", "HI-0"}},
         {0x1fc0000, {}, {50, 51, 85, 86, 89, 90, 87, -1}}},
    }, kClassic);
  }
}

TEST_F(ClassicPrinter, HeronKnowsOnlyHyphenatedFaceTrays) {
  CheckAll({
      {"rows", {.group = 16, .in = {"Bypass", "Cassette 1", "Cassette 2", "GX-966", "Multi"},
                .out = {"Face U", "Face D", "Face-u", "Face-d"}, .duplexUnit = 1},
       {0x10807, {12, 20, 21, 22, 12}, {-1, -1, 50, 51}}},
  }, kClassic);
}

TEST_F(ClassicPrinter, RenamesWithoutHostStrings) {
  orvx::host::ClearStringResources();
  const Outcome o = Call({.group = 1, .in = {"Manual", "Default"}}, kClassic);
  EXPECT_EQ(o.inNames, (std::vector<std::string>{"", ""}));
  EXPECT_EQ(o.inIds, (std::vector<int>{10, 20}));
}

TEST_F(ClassicPrinter, LetterCaseCounts) {
  CheckAll({{"lower-case multi", {.group = 12, .in = {"multi purpose tray", "cassette 1"}}, {0, {-1, -1}, {}}}},
           kClassic);
}

// One tray alone, or the duplex unit alone, adds only its own bits: the other
// cases install several trays at once, whose bits can hide one another's.
TEST_F(ClassicPrinter, TheFirstFeederOrTheDuplexUnitAlone) {
  struct Case {
    int vendor, group;
    const char* tray;
    DWORD bits;
    int id;
    DWORD duplexAlone;
  };
  const Case cases[] = {
      {1, 1, "Multi Purpose Tray", 0x800, 12, 0x10000}, {1, 1, "Manual Feed", 0x1, 10, 0x10000},
      {1, 1, "Default Tray", 0, 20, 0x10000},         {1, 1, "BC Tray", 0x1000, 11, 0x10000},
      {1, 2, "Multi Purpose Tray", 0x800, 12, 0},
      {1, 2, "Manual Feed", 0x800, 10, 0},              {1, 2, "Default Tray", 0x1, 20, 0},              {1, 3, "Multi Purpose Tray", 0x800, 12, 0x10000},
      {1, 5, "Multi Purpose Tray", 0x800, 12, 0},       {1, 6, "Multi Purpose Tray", 0x800, 12, 0},
      {1, 8, "Multi Purpose Tray", 0x800, 12, 0x10000}, {1, 10, "Multi Purpose Tray", 0x800, 12, 0},
      {1, 12, "Multi Purpose Tray", 0x800, 12, 0x10000}, {1, 13, "Multi Purpose Tray", 0x800, 12, 0},
      {1, 15, "Multi Purpose Tray", 0x1000, 31, 0},     {1, 16, "Multi Purpose Tray", 0x800, 12, 0x10000},
      {2, 1, "Bypass", 0x1000, 31, 0},                  {2, 2, "Bypass", 0x1000, 31, 0},
      {2, 4, "Bypass", 0x1000, 31, 0},                  {2, 6, "Bypass", 0x1000, 31, 0x10000},
      {2, 9, "Bypass", 0x1000, 31, 0},                  {2, 13, "Bypass", 0x1000, 31, 0x100F},
      {2, 14, "Bypass", 0x1000, 31, 0x100F},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.vendor << "/" << c.group << " " << c.tray);
    Check({.vendor = c.vendor, .group = c.group, .in = {c.tray}}, {c.bits, {c.id}, {}}, kClassic);
    Check({.vendor = c.vendor, .group = c.group, .duplexUnit = 1}, {c.duplexAlone, {}, {}}, kClassic);
  }
}
