// The C interface and the C++ classes read every record of the sample
// database the same way. (Lookups, size lists and pictures through the C
// interface are compared with the tool's answers by the Python package's
// tests, which call it.)
#include <gtest/gtest.h>

#include <string>

#include "orvx/database.h"
#include "orvx/orvx.h"
#include "orvx/record_fields.h"

TEST(CInterface, AgreesWithTheClassesOnEveryRecord) {
  orvx::ModelDatabase cxx;
  const orvx::Status loaded = cxx.LoadFile(ORVX_SAMPLE_DB);
  ASSERT_FALSE(loaded.Failed()) << loaded.message;
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
  }
  orvx_db_close(c);
}
