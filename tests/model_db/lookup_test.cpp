// Model lookup, through the model array and through databases a caller owns;
// owned loads that fail cleanly.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>

#include "orvx/database.h"
#include "linear_lookup.h"
#include "test_util.h"

using orvx::Match;
using orvx_test::Bytes;

namespace {

Bytes DatabaseOf(const std::vector<const char*>& names) {
  orvx::ModelDatabase db;
  for (const char* n : names) {
    auto r = std::make_unique<CPrnStaticInfo>();
    r->SetModelName(n);
    db.Add(std::move(r));
  }
  return orvx_test::Store([&](CArchive& ar) { db.Store(ar); });
}

CPrnStaticInfo* At(std::size_t i) { return static_cast<CPrnStaticInfo*>(CPrnStaticInfoArray.GetAt(static_cast<int>(i))); }

}  // namespace

TEST(Lookup, PassesFallbacksAndHowTheNameMatched) {
  orvx_test::ModelArrayGuard guard;
  struct Case {
    std::vector<const char*> records;
    const char* key;
    int index;
    Match how;
  };
  const std::vector<const char*> hp = {"Other Printer", "LaserJet 4", "HP", "HP LaserJet 5", "Vantor LP-1200"};
  const Case cases[] = {
      {{"Default", "LP-1", "LP-1100"}, "LP-1100", 2, Match::Exact},  // even over an earlier substring
      {{"Default", "LP-1", "LP-1100"}, "Vantor LP-1100 PS", 1, Match::Substring},  // the first name inside the key
      {{"Default", "LP-1100"}, "DC-2000", 0, Match::Default},
      {{"Default", "LP-1100"}, "", 0, Match::Default},
      {{"Default", "lp-1100"}, "LP-1100", 0, Match::Default},  // letter case counts
      // "hp" in front becomes "HP" for the substring pass
      {{"Default", "HP LaserPrinter 5"}, "hp LaserPrinter 5 PCL", 1, Match::HpFix},
      {{"Default", "HP LaserPrinter 5"}, "Hp LaserPrinter 5", 0, Match::Default},
      {{"Default", "HP LaserPrinter 5"}, "hP LaserPrinter 5", 0, Match::Default},
      {{"Default", "hp x"}, "hp x", 1, Match::Exact},  // the exact pass sees the key as given
      {{"Default", "h"}, "h", 1, Match::Exact},
      {{"Default", "HP"}, "hp", 1, Match::HpFix},  // the shortest key the fix applies to
      {{"Default", "aaab"}, "hpaaaab", 1, Match::Substring},  // in the query as given too, after a false start
      {hp, "hp LaserJet 5", 2, Match::HpFix},      // "HP LaserJet 5" contains "HP", which comes first
      {hp, "hpLaserJet 4", 1, Match::Substring},   // found without the fix
      {hp, "xx HP LaserJet 5", 0, Match::Default},  // "HP" inside but not in front ends the search
      {{"Default", "HP", "Vantor HP"}, "Vantor HP 2", 0, Match::Default},
      {{"Default", "HP", "Vantor HP"}, "HP Vantor", 1, Match::Substring},
      // an empty model name matches every key from its position on
      {{"Default", "", "LP-1100"}, "LP-1100 PS", 1, Match::Substring},
      {{"Default", "LP-1100", ""}, "LP-1100 PS", 1, Match::Substring},
      {{"Default", "LP", "LP-1100"}, "LP-1100 PS", 1, Match::Substring},  // an earlier, shorter match wins
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    const Bytes bytes = DatabaseOf(c.records);
    orvx::ModelDatabase db;
    ASSERT_FALSE(db.LoadBytes(bytes).Failed());
    const orvx::LookupResult found = db.Lookup(c.key);
    EXPECT_EQ(found.index, c.index);
    EXPECT_EQ(found.how, c.how);
    CPrnStaticInfoArray_RemoveAll();
    orvx_test::LoadArray(bytes);
    EXPECT_EQ(GetPointerToCPrnStaticInfo(c.key), CPrnStaticInfoArray.GetAt(c.index));
  }
  CPrnStaticInfoArray_RemoveAll();
  EXPECT_EQ(GetPointerToCPrnStaticInfo(""), nullptr);
  EXPECT_EQ(GetPointerToCPrnStaticInfo(nullptr), nullptr);
  EXPECT_EQ(orvx::ModelDatabase().Lookup("x").index, -1);
  EXPECT_STREQ(orvx::MatchName(Match::HpFix), "hp");
  EXPECT_STREQ(orvx::MatchName(Match::Default), "default");
}

TEST(Database, AFailedLoadReportsWhereAndKeepsWhatWasThere) {
  const Bytes sample = orvx_test::ReadBytes(ORVX_SAMPLE_DB);
  orvx::ModelDatabase db;
  ASSERT_FALSE(db.LoadBytes(sample).Failed());
  const std::size_t count = db.size();
  // Every cut inside the data fails where the data ends.
  for (std::size_t n = 0; n < sample.size(); n += (n < 200 ? 1 : 97)) {
    orvx::Framing framing;
    const orvx::Status error = orvx::LoadBytes(std::span(sample).first(n), db, &framing);
    EXPECT_EQ(error.code, orvx::Status::Format) << n;
    EXPECT_EQ(framing.bytesRead, n);
    EXPECT_EQ(error.where, static_cast<long long>(n));
    EXPECT_NE(error.message.find("at byte " + std::to_string(n)), std::string::npos) << error.message;
  }
  EXPECT_NE(db.LoadBytes(Bytes{0x00, 0x00, 0x00, 0x80}).message.find("negative"), std::string::npos);
  EXPECT_EQ(db.LoadBytes(Bytes{1, 0, 0, 0, 0xFF, 0xFE, 0xFF, 0x01, 0x41, 0x00}).message,  // a wide-string name
            "buffer: a truncated or malformed model database (malformed data at byte 5)");
  orvx_test::TempDir dir;
  for (const auto& [path, code] : {std::pair{dir.path().string(), orvx::Status::NotRegular},
                                   std::pair{(dir.path() / "missing.dat").string(), orvx::Status::NotFound}}) {
    const orvx::Status error = db.LoadFile(path);
    EXPECT_EQ(error.code, code) << path;
    EXPECT_EQ(error.message.rfind(path, 0), 0u) << error.message;
  }
  EXPECT_EQ(db.size(), count);
  EXPECT_EQ(db[2].GetModelName(), "Vantor LP-1200");
}

// The host's own changes to the model array between lookups, as rows.
TEST(Lookup, TheModelArrayStaysTrueToItsHostsChanges) {
  orvx_test::ModelArrayGuard guard;
  const auto make = [](const char* name) {
    auto* r = new CPrnStaticInfo;
    r->SetModelName(name);
    return r;
  };
  for (const char* name : {"Alpha", "Beta", "Gamma"}) CPrnStaticInfoArray.Add(make(name));
  ASSERT_EQ(GetPointerToCPrnStaticInfo("Beta"), At(1));
  delete At(1);
  CPrnStaticInfoArray.SetAt(1, make("Delta"));
  void* first = CPrnStaticInfoArray.GetAt(0);
  CPrnStaticInfoArray.SetAt(0, CPrnStaticInfoArray.GetAt(2));
  CPrnStaticInfoArray.SetAt(2, first);  // [Gamma, Delta, Alpha]
  const struct {
    const char* query;
    int expected;
  } rows[] = {{"Delta", 1}, {"Beta", 0}, {"Gamma Printer", 0}, {"Alpha", 2}};
  for (const auto& row : rows) EXPECT_EQ(GetPointerToCPrnStaticInfo(row.query), At(row.expected)) << row.query;
  // Emptied by the host and filled again with as many new records.
  for (void* p : CPrnStaticInfoArray) delete static_cast<CPrnStaticInfo*>(p);
  CPrnStaticInfoArray.RemoveAll();
  for (const char* name : {"Epsilon", "Zeta", "Eta"}) CPrnStaticInfoArray.Add(make(name));
  EXPECT_EQ(GetPointerToCPrnStaticInfo("Zeta"), At(1));
  EXPECT_EQ(GetPointerToCPrnStaticInfo("Gamma"), At(0));
}

// The indexed lookup against the plain scan, over random names and queries
// from an alphabet that makes "hp", "HP", repeats, empty names and overlapping
// names common; after renames too, through both entry points. The fuzz
// target fuzz_lookup changes the array and databases every other way.
TEST(Lookup, IndexAgreesWithTheLinearScan) {
  orvx_test::ModelArrayGuard guard;
  std::mt19937 random(7);
  const auto text = [&](int most) {
    static const char kBytes[] = {'h', 'p', 'H', 'P', 'a', ' '};
    std::string s(random() % (most + 1), ' ');
    for (char& c : s) c = kBytes[random() % sizeof kBytes];
    return random() % 8 == 0 ? std::string("HP") : s;
  };
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> names(1 + random() % 12);
    for (auto& n : names) n = text(4);
    orvx::ModelDatabase db;
    for (const auto& n : names) db.Add(std::make_unique<CPrnStaticInfo>()), db[db.size() - 1].SetModelName(n);
    CPrnStaticInfoArray_RemoveAll();
    orvx_test::LoadArray(DatabaseOf({}));
    for (std::size_t i = 0; i < names.size(); ++i) CPrnStaticInfoArray.Add(new CPrnStaticInfo), At(i)->SetModelName(names[i]);
    for (int q = 0; q < 40; ++q) {
      if (q == 20) {  // a rename after the index was made
        const std::size_t i = random() % names.size();
        names[i] = text(3);
        db[i].SetModelName(names[i]);
        At(i)->SetModelName(names[i]);
      }
      // Every third query starts with "hp", which the substring pass reads as "HP".
      const std::string key = (q % 3 ? "" : "hp") + (q % 5 == 0 ? names[random() % names.size()] + text(2) : text(7));
      const auto expected = orvx_test::LinearLookup(names, key);
      const auto found = db.Lookup(key);
      ASSERT_EQ(found.index, expected.index) << key;
      ASSERT_EQ(found.how, expected.how) << key;
      ASSERT_EQ(GetPointerToCPrnStaticInfo(key.c_str()), At(expected.index)) << key;
      const auto inside = std::find_if(names.begin(), names.end(),
                                       [&](const std::string& n) { return !n.empty() && key.find(n) != std::string::npos; });
      ASSERT_EQ(db.FirstNameIn(key), inside == names.end() ? -1 : inside - names.begin()) << key;
    }
  }
}
