#include <gtest/gtest.h>

#include "db_json.h"
#include "orvx/record_fields.h"
#include "test_util.h"

TEST(DbJson, MissingKeysTakeTheConstructorDefaults) {
  const auto r = orvdb::RecordFromJson(orvdb::Json::parse(R"({"VenderID": 2})"), 0);
  CPrnStaticInfo fresh;
  fresh.SetVenderID(2);
  EXPECT_EQ(orvx_test::StoreRecord(*r), orvx_test::StoreRecord(fresh));
}

TEST(DbJson, KeysInDatabaseOrderWithTheBlockLast) {
  CPrnStaticInfo r;
  const auto j = orvdb::RecordToJson(r);
  std::vector<std::string> keys;
  for (const auto& [k, v] : j.items()) keys.push_back(k);
  ASSERT_EQ(keys.size(), 60u);
  EXPECT_EQ(keys.front(), "ModelName");
  EXPECT_EQ(keys[6], "FlagNames");  // beside the number they spell
  EXPECT_EQ(keys.back(), "InTraySPSZSizeList");
  EXPECT_TRUE(j["InTraySPSZSizeList"].is_null());
  EXPECT_EQ(j["Info0108"], -1);    // signed fields as signed numbers
  EXPECT_EQ(j["Info040A"], 255);   // unsigned as unsigned
}

TEST(DbJson, ExtremeValuesAndNonUtf8NamesRoundTrip) {
  CPrnStaticInfo r;
  r.SetModelName(std::string("Caf\xE9 \xFF", 6));
  for (const auto& d : orvx::RecordFields())
    orvx::WriteField(r.Fields(), d, orvx::FieldSigned(d.type) ? -(1ll << (orvx::FieldWidth(d.type) * 8 - 1)) : -1);
  const BYTE block[] = {1};
  r.SetInTraySPSZSizeList(1, block);
  const auto j = orvdb::RecordToJson(r);
  EXPECT_FALSE(j.contains("ModelName"));
  ASSERT_TRUE(j.contains("ModelNameBytes"));
  // Through text and back, as the tool does.
  const auto back = orvdb::RecordFromJson(orvdb::Json::parse(j.dump()), 0);
  EXPECT_EQ(orvx_test::StoreRecord(*back), orvx_test::StoreRecord(r));
}
