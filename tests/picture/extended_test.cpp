// Extended rules, through GetPictureIDEx.
#include "orvx/afx_host.h"
#include "picture_harness.h"

using namespace picture_test;

namespace {
constexpr bool kExtended = true;
}

TEST(Extended, NightjarIsThePrinterLineDefault) {
  for (const int group : {0, 1, 17, 21, 40, 200}) {
    SCOPED_TRACE(group);
    CheckAll({
        {"the typical request", {.vendor = 1, .group = group, .in = {"Multi Purpose Tray", "Cassette 1", "Cassette 2"},
                                 .out = {"Face Down Tray"}},
         {0x803, {12, 20, 21}, {51}}},
        {"duplex unit by option name",
         {.vendor = 1, .group = group, .in = {"Multi Purpose Tray", "Cassette 1", "Cassette 2", "Cassette 3"},
          .out = {"Face Down Tray"}, .options = {"HH-418"}},
         {0x10807, {12, 20, 21, 22}, {51}}},
        {"GX-3 before GX", {.vendor = 1, .group = group, .in = {"GX-3", "GX-1", "Feed Unit"}}, {0x106, {30, 21, 22}, {}}},
        {"short option name; duplex unit as an out-tray",
         {.vendor = 1, .group = group, .out = {"HH-418"}, .options = {"HH-9", "HH-97", "HH-415x"}},
         {0x10000, {}, {-1}}},
        {"other rows", {.vendor = 1, .group = group, .in = {"MP Tray", "Inte", "Envelope", "GX-828", "Bulk", "Default"},
                        .out = {"Rear Tray", "Top Tray", "5bin", "NE", "Paper", "IL-1", "Bulk", "Side"}},
         {0x301901, {12, 20, 11, 30, 30, 20}, {50, 51, 57, 57, 72, 72, 72, -1}}},
        {"nothing at all", {.vendor = 1, .group = group}, {0, {}, {}}},
    }, kExtended);
  }
}

TEST(Extended, Dunlin) {
  for (const auto& [vendor, group] : {std::pair{1, 19}, {1, 23}, {2, 18}, {2, 21}, {2, 24}}) {
    SCOPED_TRACE(testing::Message() << vendor << "/" << group);
    CheckAll({
        {"empty", {.vendor = vendor, .group = group}, {0x4000000, {}, {}}},
        {"exact cassettes", {.vendor = vendor, .group = group, .in = {"Cassette 1", "Cassette 2", "Cassette 3", "Cassette 1 "}},
         {0x4000003, {20, 21, -1, -1}, {}}},
        {"no drawer counter", {.vendor = vendor, .group = group, .in = {"GX-4", "GX-4", "Feed"}},
         {0x4000002, {21, 21, 21}, {}}},
        {"other rows", {.vendor = vendor, .group = group, .in = {"Manual", "Mult", "MP Tray", "Inte", "Default"},
                        .out = {"Face Up", "Face Down", "Top Tray", "Face-d"}, .options = {"HH-97"}},
         {0x4000801, {12, 12, 12, 20, 20}, {50, 51, 51, -1}}},
    }, kExtended);
  }
}

TEST(Extended, WrenYellowlegsHeron) {
  CheckAll({
      {"Wren", {.vendor = 1, .group = 22, .in = {"MP Tray", "Cassette 1", "GX-5", "Feed"},
                .out = {"Rear Tray", "Top T", "Face Up"}, .options = {"HH-37"}},
       {0x11007, {31, 21, 22, 23}, {50, 51, -1}}},
      {"Yellowlegs: second place is the standard cassette", {.vendor = 1, .group = 31, .in = {"MP Tray", "Cassette", "Cassette 2"}},
       {0x803, {12, 20, 21}, {}}},
      {"Yellowlegs: a cassette elsewhere is a drawer", {.vendor = 1, .group = 32, .in = {"Cassette", "MP Tray", "GX-5"}},
       {0x806, {21, 12, 22}, {}}},
      {"Yellowlegs: hyphenated face trays only",
       {.vendor = 1, .group = 36, .in = {"Manual", "Bypass"}, .out = {"Face-u", "Face-d", "Face Up", "Face Down"}},
       {0x800, {12, 12}, {50, 51, -1, -1}}},
      {"Heron: the fourth of four is left alone",
       {.vendor = 1, .group = 16, .in = {"Bypass Tray", "Cassette 1", "Cassette 2", "Cassette 3"}},
       {0x801, {12, 20, 21, -1}, {}}},
      {"Heron: with five, the fourth is a drawer",
       {.vendor = 1, .group = 16, .in = {"Bypass Tray", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4"},
        .out = {"Face-u", "Face U"}},
       {0x807, {12, 20, 21, 22, 23}, {50, -1}}},
  }, kExtended);
}

TEST(Extended, KestrelAndOsprey) {
  CheckAll({
      {"Kestrel, vendor 1: no bit pair", {.vendor = 1, .group = 20, .docOptions = {"NMFR-9"}}, {0, {}, {}}},
      {"Osprey, vendor 2, document unit", {.vendor = 2, .group = 17, .docOptions = {"NMFR-9"}}, {0x4000000, {}, {}}},
      {"Osprey, vendor 2, none", {.vendor = 2, .group = 22, .docOptions = {"NMFR-8", "HG-97"}}, {0x2000000, {}, {}}},
      {"fourth of four is the large feeder",
       {.vendor = 1, .group = 20, .in = {"Multi Purpose Tray", "Cassette 1", "Cassette 2", "Cassette 3"}},
       {0x1103, {31, 21, 22, 32}, {}}},
      {"with five, all are feeders",
       {.vendor = 1, .group = 20, .in = {"Multi Purpose Tray", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4"}},
       {0x100F, {31, 21, 22, 23, 24}, {}}},
      {"GX-59 anywhere; fourth of four unmatched",
       {.vendor = 1, .group = 20, .in = {"GX-59", "RL-20", "Feed", "Tray"}}, {0x103, {32, 21, 22, -1}, {}}},
      {"out-trays and options",
       {.vendor = 1, .group = 20,
        .out = {"Top Tray", "Left Tray", "Bookl", "Simple", "Finisher", "HI-079", "ZB-283", "RJ-272", "Face"},
        .options = {"Booklet Maker"}},
       {0x9FC0000, {}, {51, 50, 85, 93, 86, 89, 90, 87, -1}}},
      {"Osprey gives what Kestrel gives, plus the pair",
       {.vendor = 2, .group = 17, .in = {"Bypass", "GX-13", "Casse", "Large"}, .out = {"HI-01"}, .options = {"FU-404"},
        .docOptions = {"Document Feeder"}},
       {0xC201103, {31, 21, 22, 32}, {93}}},
  }, kExtended);
}

TEST(Extended, Eider) {
  CheckAll({
      {"vendor 1", {.vendor = 1, .group = 28, .in = {"MP Tray", "Multi Purpose Tray 2", "Bypass", "GX-18", "Feed"},
                    .options = {"FU-464"}, .docOptions = {"HG-937"}},
       {0x201003, {31, 31, 31, 21, 22}, {}}},
      {"fourth of four that is no large feeder", {.vendor = 1, .group = 29, .in = {"a", "b", "c", "GX-18"}},
       {0, {-1, -1, -1, -1}, {}}},
      {"fourth of four", {.vendor = 2, .group = 25, .in = {"Feed", "GX-17", "Casse", "GX-14"}},
       {0x2000107, {21, 22, 23, 32}, {}}},
      {"out-trays", {.vendor = 2, .group = 28, .out = {"Face Down Tray", "Top Tray", "Left Tray", "HI-005", "HI-056",
                                                       "ZB-252", "RJ-284", "FU-404", "Bookle"},
                     .docOptions = {"HG-942"}},
       {0xCFC0000, {}, {-1, 51, 50, 93, 94, 90, 95, -1, -1}}},
      {"Multi Purpose alone is not enough", {.vendor = 1, .group = 29, .in = {"Multi Purpose", "Multi Purpose Tray"}},
       {0x1000, {-1, 31}, {}}},
  }, kExtended);
}

TEST(Extended, WagtailShrikeLapwing) {
  CheckAll({
      {"Wagtail", {.vendor = 2, .group = 19, .in = {"Bypass Tray", "GX-922", "Cassette 1"}}, {0x2001003, {31, 21, 22}, {}}},
      {"Wagtail, document unit and out-trays",
       {.vendor = 2, .group = 23, .out = {"Top Tray", "HI-678", "Inner", "ZB-033", "Face Up"}, .docOptions = {"HG-388"}},
       {0x4540000, {}, {51, 89, 89, 90, -1}}},
      {"Shrike", {.vendor = 2, .group = 26, .in = {"MP Tray", "GX-20", "Casse", "Feed"},
                  .out = {"HI-314", "Face-u", "Simple", "ZB-182", "Face-d"}, .docOptions = {"Docume"}},
       {0xD4C1003, {31, 21, 22, -1}, {89, 50, 93, 90, 51}}},
      {"Shrike, no document unit", {.vendor = 2, .group = 27, .out = {"HI-31"}}, {0x3000000, {}, {89}}},
      {"Lapwing, empty", {.vendor = 2, .group = 29}, {0x2000000, {}, {}}},
      {"Lapwing, Doc- unit replaces the start", {.vendor = 2, .group = 29, .docOptions = {"Doc-1"}}, {0x4000000, {}, {}}},
      {"Lapwing, HG- unit", {.vendor = 2, .group = 29, .docOptions = {"Document F", "HG-1"}}, {0x4000000, {}, {}}},
      {"Lapwing, Document F is no Doc- unit", {.vendor = 2, .group = 29, .docOptions = {"Document F"}},
       {0x2000000, {}, {}}},
      {"Lapwing trays", {.vendor = 2, .group = 29, .in = {"Multi Purpose Tray", "Cassette 1", "GX-1"}, .out = {"Face-d"}},
       {0x2041003, {31, 21, 22}, {51}}},
  }, kExtended);
}

TEST(Extended, PloverFeederTable) {
  struct Row {
    int trays;
    std::vector<std::string> options;
    DWORD bits;  // on a vendor-1 record, after the final step
    std::vector<int> ids;
  };
  const std::vector<std::string> r7 = {"GX-268", "GX-261"};
  const Row rows[] = {
      // A feeder configuration is the count of in-trays and of GX-268 units and
      // whether a GX-261 or a GX-266 is there.
      {2, {}, 0x1001, {31, 21}},
      {3, {"GX-268"}, 0x1003, {31, 21, 22}},
      {4, {"GX-268", "GX-268"}, 0x1007, {31, 21, 22, 23}},
      {2, {"GX-268"}, 0x11002, {31, 21}},
      {3, {"GX-268", "GX-268"}, 0x11006, {31, 21, 22}},
      {5, {"GX-261"}, 0x1039, {31, 21, 33, 34, 35}},
      {6, r7, 0x103B, {31, 21, 22, 33, 34, 35}},
      {4, {"GX-261"}, 0x11038, {31, 33, 34, 35}},
      {5, r7, 0x1103A, {31, 21, 33, 34, 35}},
      {5, {"GX-266"}, 0x1341, {31, 21, 36, 37, 38}},
      {6, {"GX-268", "GX-266"}, 0x1343, {31, 21, 22, 36, 37, 38}},
      {4, {"GX-266"}, 0x11340, {31, 36, 37, 38}},
      {5, {"GX-268", "GX-266"}, 0x11342, {31, 21, 36, 37, 38}},
      // no configuration: no bits, the slots of the first
      {1, {}, 0, {31}},
      {3, {}, 0, {31, 21, 0}},
      // a duplicate GX-261 counts once
      {5, {"GX-261", "GX-261x"}, 0x1039, {31, 21, 33, 34, 35}},
      // a finisher unit keeps the configuration's 0x1000000
      {6, {"GX-268", "GX-261", "HI-331"}, 0x110103B, {31, 21, 22, 33, 34, 35}},
      {5, {"GX-268", "GX-266", "HI-372 F"}, 0x1111342, {31, 21, 36, 37, 38}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(testing::Message() << r.trays << " trays, " << r.options.size() << " options, 0x" << std::hex << r.bits);
    Request q{.vendor = 1, .group = 18, .options = r.options};
    for (int i = 0; i < r.trays; ++i) q.in.push_back(i % 2 ? "Anything" : "");
    Check(q, {r.bits, r.ids, {}}, kExtended);
    q.vendor = 2;
    q.group = 16;
    Check(q, {r.bits | 0x2000800, r.ids, {}}, kExtended);
  }
}

TEST(Extended, PloverUnitsOutTraysAndLimits) {
  CheckAll({
      {"empty, vendor 1", {.vendor = 1, .group = 18}, {0, {}, {}}},
      {"empty, vendor 2", {.vendor = 2, .group = 16}, {0x2000800, {}, {}}},
      {"document unit", {.vendor = 2, .group = 16, .docOptions = {"NMFR-9", "NMFR-8x"}}, {0x4000800, {}, {}}},
      {"seven in-trays: no IDs written", {.vendor = 1, .group = 18, .in = {"a", "b", "c", "d", "e", "f", "g"}},
       {0, {-1, -1, -1, -1, -1, -1, -1}, {}}},
      {"finisher trays get slots, units give bits",
       {.vendor = 1, .group = 18,
        .out = {"Top Tray", "Left Tray", "GA-199", "Finisher Tray B", "HI-372", "RJ-7", "Finisher Tray 3", "Face Down"},
        .options = {"RJ-7x", "FU-2"}},
       {0xCC0000, {}, {51, 50, 50, 91, 91, 92, 92, -1}}},
      {"a finisher tray alone adds no bit", {.vendor = 1, .group = 18, .out = {"Finisher Tray B"}}, {0, {}, {91}}},
  }, kExtended);
}

TEST(Extended, AukletByModelName) {
  const std::vector<T> trays = {"Bypass", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4", "Cassette 5"};
  for (const char* j : {"WR-4697(J)", "WR-1949(J)"}) {
    SCOPED_TRACE(j);
    Check({.vendor = 2, .group = 14, .in = trays, .model = j}, {0x120F, {31, 21, 22, 23, 24, 88}, {}}, kExtended);
  }
  for (const char* other : {"WR-4697", "WR-4697(J) ", "Other Printer"}) {
    SCOPED_TRACE(other);
    Check({.vendor = 2, .group = 14, .in = trays, .model = other}, {0x1303, {31, 32, 21, 22, 88, -1}, {}}, kExtended);
  }
  CheckAll({
      {"empty", {.vendor = 2, .group = 14}, {0, {}, {}}},
      {"three finisher trays", {.vendor = 2, .group = 14, .out = {"HI-372", "Multi F", "Sub T"}}, {0x500000, {}, {91, 91, 91}}},
      {"four finisher trays", {.vendor = 2, .group = 14, .in = {"NN-37"}, .out = {"HI-372", "HI-372", "HI-372", "HI-372", "Face-d", "Multi T"}},
       {0xF40200, {88}, {91, 91, 91, 91, 51, 92}}},
  }, kExtended);
}

TEST(Extended, Gannet) {
  for (const int group : {20, 32}) {
    SCOPED_TRACE(group);
    CheckAll({
        {"empty", {.vendor = 2, .group = group}, {0x100F, {}, {}}},
        {"GX-216 installed: the large feeder is slot 96", {.vendor = 2, .group = group, .in = {"NN-841"}, .options = {"GX-216"}},
         {0x400, {96}, {}}},
        {"otherwise slot 88", {.vendor = 2, .group = group, .in = {"NN-841"}, .options = {"GX-2160"}}, {0x200, {88}, {}}},
        {"in-tray order matters", {.vendor = 2, .group = group, .in = {"GX-216", "GX-235"}}, {0x400, {96, 96}, {}}},
        {"in-tray order matters, reversed", {.vendor = 2, .group = group, .in = {"GX-235", "GX-216"}}, {0x600, {88, 96}, {}}},
        {"six cassettes", {.vendor = 2, .group = group, .in = {"Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4",
                                                                 "Cassette 5", "Cassette 6"}},
         {0x21F, {21, 22, 23, 24, 25, 88}, {}}},
        {"option words", {.vendor = 2, .group = group, .in = {"Bypass"}, .options = {"Booklet", "GX-235", "NN-841", "FU-2"}},
         {0x401200, {31}, {}}},
        {"a face tray beside the bypass", {.vendor = 2, .group = group, .in = {"Bypass"}, .out = {"Face-d"}},
         {0x41000, {31}, {51}}},
        {"only out-trays: the fallback comes first",
         {.vendor = 2, .group = group, .out = {"Left Tray", "Document F", "Finisher Tray A", "HI-399", "HI-399",
                                                "Multi Tray", "Finisher Tray 5", "Face Up"}},
         {0xB4100F, {}, {51, 91, 91, 91, 91, 92, 92, -1}}},
    }, kExtended);
  }
}

TEST(Extended, DefaultTrayRenameUsesTheHostString) {
  orvx::host::SetStringResource(9482, "Standard");
  EXPECT_EQ(Call({.vendor = 1, .group = 0, .in = {"Default Tray"}}, kExtended).inNames,
            std::vector<std::string>{"Standard"});
  orvx::host::RemoveStringResource(9482);
  const Outcome o = Call({.vendor = 2, .group = 18, .in = {"Default Tray"}}, kExtended);
  EXPECT_EQ(o.inNames, std::vector<std::string>{""});
  EXPECT_EQ(o.result, 0x4000001u);
}

// The first feeder alone adds only its own bits (and the vendor's pair).
TEST(Extended, TheFirstFeederAlone) {
  const std::tuple<int, int, const char*, DWORD, int> cases[] = {
      {1, 0, "Multi Purpose Tray", 0x800, 12},   {1, 0, "Internal Tray", 0x1, 20},   {1, 19, "Multi", 0x4000800, 12},  {1, 22, "MP Tray", 0x1000, 31},
      {1, 31, "MP Tray", 0x800, 12},             {1, 16, "Bypass Tray", 0x800, 12}, {1, 20, "Multi Purpose Tray", 0x1000, 31},
      {1, 28, "MP Tray", 0x1000, 31},            {2, 17, "Bypass", 0x2001000, 31},  {2, 19, "Bypass Tray", 0x2001000, 31},
      {2, 26, "MP Tray", 0x2001000, 31},         {2, 29, "MP Tray", 0x2001000, 31}, {2, 20, "Bypass", 0x1000, 31},
      {2, 14, "Bypass", 0x1000, 31},
  };
  for (const auto& [vendor, group, tray, bits, id] : cases) {
    SCOPED_TRACE(testing::Message() << vendor << "/" << group);
    Check({.vendor = vendor, .group = group, .in = {tray}}, {bits, {id}, {}}, kExtended);
  }
}
