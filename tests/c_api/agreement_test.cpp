// The C interface and the C++ classes answer one set of requests the same
// way, over every record of the sample database.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orvx/database.h"
#include "orvx/orvx.h"
#include "orvx/record_fields.h"

namespace {

struct Config {
  std::vector<const char*> in, out, options;
};

const Config kConfigs[] = {
    {{"Multi Purpose Tray", "Optional Cassette 1", "Cassette 2"}, {"Face Down Tray"}, {}},
    {{"Bypass", "Cassette 1", "Cassette 2", "Cassette 3", "Cassette 4"}, {"Finisher", "Mailbox"}, {"Duplex Unit"}},
    {{"Manual", "Option Tray 1", "LCT"}, {"Face Up Tray", "Sorter"}, {"Stapler", "Large Capacity"}},
    {{}, {}, {}},
};

}  // namespace

TEST(CInterface, AgreesWithTheClassesOnEveryRecord) {
  orvx::ModelDatabase cxx;
  orvx::LoadError loadError;
  ASSERT_TRUE(cxx.LoadFile(ORVX_SAMPLE_DB, loadError)) << loadError.message;
  orvx_db* c = nullptr;
  ASSERT_EQ(orvx_db_open_file(ORVX_SAMPLE_DB, &c, nullptr), ORVX_OK);
  ASSERT_EQ(orvx_db_count(c), cxx.size());

  for (std::size_t i = 0; i < cxx.size(); ++i) {
    CPrnStaticInfo& r = cxx[i];
    orvx_record* h = orvx_db_record(c, i);
    SCOPED_TRACE(r.GetModelName().str());
    size_t length = 0;
    const char* name = orvx_record_name(h, &length);
    EXPECT_EQ(std::string(name, length), r.GetModelName().str());

    int how = -1;
    size_t index = 0;
    const orvx::LookupResult found = cxx.Lookup(r.GetModelName().str() + " PS");
    EXPECT_EQ(orvx_db_lookup(c, (r.GetModelName().str() + " PS").c_str(), &how, &index),
              orvx_db_record(c, static_cast<size_t>(found.index)));
    EXPECT_EQ(how, static_cast<int>(found.how));

    EXPECT_EQ(orvx_record_vendor_id(h), r.GetVenderID());
    EXPECT_EQ(orvx_record_model_group_id(h), r.GetModelGroupID());
    EXPECT_EQ(orvx_record_based_model_group_id(h), r.GetBasedModelGroupID());
    EXPECT_EQ(orvx_record_icon_index(h), r.GetIconBaseIdx());
    EXPECT_EQ(orvx_record_flags(h), r.Fields().Flags);
    for (std::size_t f = 0; f < orvx_flag_count(); ++f)
      EXPECT_EQ(orvx_record_flag(h, f), (r.*orvx::RecordFlags()[f].get)()) << orvx_flag_name(f);

    for (const auto& field : orvx::RecordFields()) {
      for (DWORD key : {field.key, field.aliasKey, field.setOnlyKey}) {
        int32_t value = 0;
        const int status = orvx_record_info(h, key, &value);
        EXPECT_EQ(value, r.GetInfo(key)) << std::hex << key;
        EXPECT_EQ(status == ORVX_OK, key != 0 && key != field.setOnlyKey) << std::hex << key;
      }
    }

    BYTE cxxList[256];
    unsigned char cList[256];
    for (int tray = -1; tray <= 256; ++tray) {
      const int n = r.GetInTraySPSZSizeList(tray, cxxList);
      ASSERT_EQ(orvx_record_size_list(h, tray, cList, sizeof cList), static_cast<size_t>(n)) << tray;
      EXPECT_EQ(std::memcmp(cList, cxxList, static_cast<size_t>(n)), 0) << tray;
    }
    for (const char* tray : {"Cassette 1", "multi purpose tray", "Tray 2", "Bypass", ""}) {
      const int n = r.GetInTraySPSZSizeList(tray, cxxList);
      ASSERT_EQ(orvx_record_size_list_named(h, tray, cList, sizeof cList), static_cast<size_t>(n)) << tray;
      EXPECT_EQ(std::memcmp(cList, cxxList, static_cast<size_t>(n)), 0) << tray;
    }
    const int blockLength = r.GetInTraySPSZSizeList(cxxList);
    ASSERT_EQ(orvx_record_size_list_block(h, cList, sizeof cList), static_cast<size_t>(blockLength));
    EXPECT_EQ(std::memcmp(cList, cxxList, static_cast<size_t>(blockLength)), 0);

    for (const Config& cfg : kConfigs) {
      for (int duplex = 0; duplex <= 1; ++duplex) {
        // The C++ side, with tray records.
        std::vector<COptInTray> ins(cfg.in.size());
        std::vector<COptOutTray> outs(cfg.out.size());
        CPtrArray inArray, outArray;
        CStringList options, none, inNames, outNames;
        for (std::size_t t = 0; t < ins.size(); ++t) {
          ins[t].SetName(cfg.in[t]);
          inArray.Add(&ins[t]);
          inNames.AddTail(cfg.in[t]);
        }
        for (std::size_t t = 0; t < outs.size(); ++t) {
          outs[t].SetName(cfg.out[t]);
          outs[t].SetDerivery(3 + duplex);
          outArray.Add(&outs[t]);
          outNames.AddTail(cfg.out[t]);
        }
        for (const char* o : cfg.options) options.AddTail(o);
        const DWORD expected = duplex ? r.GetPictureID(inArray, outArray, 1, 2) : r.GetPictureIDEx(inArray, outArray, options, none);

        // The C side.
        std::vector<orvx_tray> cin(cfg.in.size()), cout(cfg.out.size());
        for (std::size_t t = 0; t < cin.size(); ++t) cin[t] = orvx_tray{cfg.in[t], -1, 0, 2, {}, 0};
        for (std::size_t t = 0; t < cout.size(); ++t) cout[t] = orvx_tray{cfg.out[t], -1, 0, 3 + duplex, {}, 0};
        uint32_t id = 0;
        const int status =
            duplex ? orvx_picture_id(h, cin.data(), cin.size(), cout.data(), cout.size(), 1, 2, &id, nullptr)
                   : orvx_picture_id_ex(h, cin.data(), cin.size(), cout.data(), cout.size(), cfg.options.data(),
                                        cfg.options.size(), nullptr, 0, &id, nullptr);
        ASSERT_EQ(status, ORVX_OK);
        EXPECT_EQ(id, expected);
        for (std::size_t t = 0; t < cin.size(); ++t) {
          EXPECT_EQ(cin[t].id, ins[t].GetID());
          EXPECT_STREQ(cin[t].final_name, ins[t].GetName().c_str());
        }
        for (std::size_t t = 0; t < cout.size(); ++t) {
          EXPECT_EQ(cout[t].id, outs[t].GetID());
          EXPECT_STREQ(cout[t].final_name, outs[t].GetName().c_str());
        }

        // The name-list forms.
        const DWORD byNames = duplex ? r.GetPictureID(inNames, outNames, 1, 2)
                                     : r.GetPictureIDEx(inNames, outNames, options, none);
        ASSERT_EQ(duplex ? orvx_picture_id_names(h, cfg.in.data(), cfg.in.size(), cfg.out.data(), cfg.out.size(), 1,
                                                 2, &id, nullptr)
                         : orvx_picture_id_ex_names(h, cfg.in.data(), cfg.in.size(), cfg.out.data(), cfg.out.size(),
                                                    cfg.options.data(), cfg.options.size(), nullptr, 0, &id, nullptr),
                  ORVX_OK);
        EXPECT_EQ(id, byNames);
      }
    }
  }
  orvx_db_close(c);
}
