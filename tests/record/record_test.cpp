#include <gtest/gtest.h>

#include "orvx/afx_host.h"
#include "orvx/prn_static_info.h"
#include "orvx/record_fields.h"

TEST(Record, NewRecordHoldsTheDefaults) {
  CPrnStaticInfo r;
  EXPECT_EQ(r.GetModelName(), "Other Printer");
  EXPECT_EQ(std::tuple(r.GetVenderID(), r.GetModelGroupID(), r.GetBasedModelGroupID(), r.GetIconBaseIdx()),
            std::tuple(0, 0, 0, 0));
  EXPECT_EQ(r.Fields().Flags + r.Fields().SpareByte + r.GetInTraySPSZSizeList(nullptr), 0u);
  // Information fields with a non-zero default, and some without.
  for (const auto& [key, value] : {std::pair<DWORD, int>{0x0108, -1}, {0x0105, -1}, {0x0302, -1}, {0x0303, -1},
                                   {0x0308, -1}, {0x20000, -1}, {0x30000, -1}, {0x040A, -1}, {0x70000, -1},
                                   {0x0707, -1}, {0x0711, -1}, {0x0B05, -1}, {0x0301, 0}, {0x0D08, 0},
                                   {0x1400000, 0}, {0x1620000, 0}})
    EXPECT_EQ(r.GetInfo(key), value) << std::hex << key;
  EXPECT_EQ(r.Fields().Info040A, 0xFF);
  r.SetIconBaseIdx(300);
  EXPECT_EQ(r.GetIconBaseIdx(), 44);  // the low byte
}

TEST(Record, SetPicNameHead) {
  struct Case {
    const char* head;
    int vendor;
    int group;
  };
  const Case cases[] = {
      {"GQ12", 1, 12}, {"GV01", 2, 1},  {"GU03", 3, 3},  {"GT10", 4, 10}, {"GA99", 5, 99},
      {"GZ00", 6, 0},  {"GO05", 7, 5},  {"GH06", 8, 6},  {"GR07", 9, 7},  {"gq12", 0, 12},
      {"GQ", 1, 0},    {"G", 0, 0},     {"7", 0, 7},     {"", 0, 0},      {"GQ7A", 1, 7},
      {"GQA7", 1, 0},  {"GQ-3", 1, 65533}, {"GQ 4", 1, 4}, {"GVX+5", 2, 5}, {"QG12", 0, 12}, {"G12", 0, 12},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.head);
    CPrnStaticInfo r;
    r.SetVenderID(77);
    r.SetModelGroupID(77);
    r.SetPicNameHead(c.head);
    EXPECT_EQ(r.GetVenderID(), c.vendor);
    EXPECT_EQ(r.GetModelGroupID(), c.group);
    EXPECT_EQ(r.GetModelName(), "Other Printer");
  }
}

TEST(Record, FlagsSetAndClearOnlyTheirOwnBit) {
  const std::string_view names[] = {"IXDuplexer", "IXMediaPath", "IsDetailPropPage", "IsColorPrinter",
                                    "IsOldTypePrinter", "IsHddJobEnable", "IsVantorPrinter", "IsVantorOEMPrinter",
                                    "IsVantorSelbyCopier", "IsVantorSelbyOEMCopier", "IsVantorSelbyMFP",
                                    "IsVantorSelbyADF", "IsVantorSelbyTidelinePrinter"};  // bits 0 to 12
  ASSERT_EQ(orvx::RecordFlags().size(), std::size(names));
  for (DWORD i = 0; i < std::size(names); ++i) {
    const auto& f = orvx::RecordFlags()[i];
    SCOPED_TRACE(f.name);
    EXPECT_EQ(f.name, names[i]);
    EXPECT_EQ(f.bit, 1u << i);
    for (const DWORD start : {DWORD{0}, DWORD{0xFFFFFFFF}}) {
      CPrnStaticInfo r;
      r.Fields().Flags = start;
      EXPECT_EQ((r.*f.get)(), start ? 1 : 0);
      (r.*f.set)(start ? 0 : 5);
      EXPECT_EQ(r.Fields().Flags, start ^ (1u << i));
      EXPECT_EQ((r.*f.get)(), start ? 0 : 1);
    }
  }
}

TEST(Record, CloseFreesTheBlockAndKeepsTheRecordUsable) {
  CPrnStaticInfo r;
  const BYTE block[] = {3, 1, 0};
  ASSERT_EQ(r.SetInTraySPSZSizeList(3, block), 3);
  r.Close();
  EXPECT_EQ(r.GetInTraySPSZSizeList(nullptr), 0);
  EXPECT_EQ(r.SetInTraySPSZSizeList(3, block), 3);
}

TEST(TrayRecords, DefaultsSignExtensionAndDeliveryLimits) {
  COptInTray in;
  EXPECT_EQ(in.GetName().str() + in.GetDescription().str(), "");
  EXPECT_EQ(std::tuple(in.GetID(), in.GetAddUnit(), in.GetTrayIndex(), in.GetPaperLevel(), in.GetPaperMax(), in.GetGroup()),
            std::tuple(-1, 0, 0, -1, -1, -1));
  const COptOutTray fresh;
  EXPECT_EQ(fresh.GetName(), "");
  EXPECT_EQ(std::tuple(fresh.GetID(), fresh.GetDerivery(), fresh.GetTrayIndex(), fresh.GetAddUnit()),
            std::tuple(-1, 2, 0, 0));

  in.SetTrayIndex(200);
  in.SetGroup(0x1FF);
  in.SetTrayLabelIdx(128);
  EXPECT_EQ(in.GetTrayIndex(), -56);
  EXPECT_EQ(in.GetGroup(), -1);
  EXPECT_EQ(in.GetTrayLabelIdx(), -128);
  in.SetPaperSize(0xFFFFFFFF);
  EXPECT_EQ(in.GetPaperSize(), 0xFFFFFFFFu);

  COptOutTray out;
  for (const auto& [given, kept] : {std::pair{3, 3}, {4, 4}, {5, 2}, {0, 2}, {2, 2}, {-1, 2}, {259, 2}}) {
    out.SetDerivery(given);
    EXPECT_EQ(out.GetDerivery(), kept) << given;
  }
  out.SetTrayIndex(255);
  EXPECT_EQ(out.GetTrayIndex(), -1);
}

TEST(TrayRecords, NamesFromTextAndFromHostResources) {
  COptInTray in;
  in.SetName("Cassette 1");
  EXPECT_EQ(in.GetName(), "Cassette 1");
  in.SetName(static_cast<const char*>(nullptr));
  EXPECT_EQ(in.GetName(), "");
  orvx::host::SetStringResource(9481, "Manual Tray");
  in.SetName(9481u);
  EXPECT_EQ(in.GetName(), "Manual Tray");
  in.SetName(60000u);  // no such resource
  EXPECT_EQ(in.GetName(), "");
  orvx::host::RemoveStringResource(9481);
  COptOutTray out;
  out.SetName("Face Down Tray");
  out.SetName(nullptr);
  EXPECT_EQ(out.GetName(), "");
}
