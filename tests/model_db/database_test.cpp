// Databases a caller owns: lookup with how it matched, loads that fail
// cleanly, several databases read from several threads.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "orvx/database.h"
#include "test_util.h"

using orvx::Match;
using orvx_test::Bytes;

namespace {

Bytes DatabaseOf(std::initializer_list<const char*> names) {
  orvx::ModelDatabase db;
  for (const char* n : names) {
    auto r = std::make_unique<CPrnStaticInfo>();
    r->SetModelName(n);
    db.Add(std::move(r));
  }
  return orvx_test::Store([&](CArchive& ar) { db.Store(ar); });
}

Bytes SampleBytes() {
  std::ifstream in(ORVX_SAMPLE_DB, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

TEST(Database, LookupTellsHowItMatchedAndAgreesWithTheModelArray) {
  const Bytes bytes = DatabaseOf({"Other Printer", "LaserJet 4", "HP", "HP LaserJet 5", "Vantor LP-1200"});
  orvx::ModelDatabase db;
  orvx::LoadError error;
  ASSERT_TRUE(db.LoadBytes(bytes, error)) << error.message;
  CPrnStaticInfoArray_RemoveAll();
  orvx_test::LoadArray(bytes);

  struct Case {
    const char* query;
    std::ptrdiff_t index;
    Match how;
  };
  const Case cases[] = {
      {"Vantor LP-1200", 4, Match::Exact},
      {"HP LaserJet 5", 3, Match::Exact},
      {"Vantor LP-1200 PCL6", 4, Match::Substring},
      {"LaserJet 4 PS", 1, Match::Substring},
      {"hp LaserJet 5", 2, Match::HpFix},         // "HP LaserJet 5" contains "HP", which comes first
      {"hpLaserJet 4", 1, Match::Substring},      // found without the fix
      {"xx HP LaserJet 5", 0, Match::Default},    // "HP" inside but not in front ends the search
      {"vantor lp-1200", 0, Match::Default},      // letter case counts
      {"", 0, Match::Default},
  };
  for (const auto& c : cases) {
    const orvx::LookupResult found = db.Lookup(c.query);
    EXPECT_EQ(found.index, c.index) << c.query;
    EXPECT_EQ(found.how, c.how) << c.query;
    EXPECT_EQ(GetPointerToCPrnStaticInfo(c.query), CPrnStaticInfoArray.GetAt(static_cast<int>(c.index))) << c.query;
  }
  CPrnStaticInfoArray_RemoveAll();

  EXPECT_EQ(orvx::ModelDatabase().Lookup("x").index, -1);
  EXPECT_STREQ(orvx::MatchName(Match::HpFix), "hp");
  EXPECT_STREQ(orvx::MatchName(Match::Default), "default");
}

TEST(Database, AFailedLoadReportsWhereAndKeepsWhatWasThere) {
  const Bytes sample = SampleBytes();
  ASSERT_GT(sample.size(), 1000u);
  orvx::ModelDatabase db;
  orvx::LoadError error;
  ASSERT_TRUE(db.LoadBytes(sample, error));
  const std::size_t count = db.size();

  // Every cut inside the data fails where the data ends.
  for (std::size_t n = 0; n < sample.size(); n += (n < 200 ? 1 : 97)) {
    ASSERT_FALSE(db.LoadBytes(std::span(sample).first(n), error)) << n;
    EXPECT_EQ(error.kind, orvx::LoadError::Format) << n;
    EXPECT_EQ(error.offset, n);
    EXPECT_NE(error.message.find("at byte " + std::to_string(n)), std::string::npos) << error.message;
  }
  EXPECT_EQ(db.size(), count);
  EXPECT_EQ(db[2].GetModelName(), "Vantor LP-1200");

  const Bytes negative = {0x00, 0x00, 0x00, 0x80};
  EXPECT_FALSE(db.LoadBytes(negative, error));
  EXPECT_EQ(error.kind, orvx::LoadError::Format);
  EXPECT_NE(error.message.find("negative"), std::string::npos);

  orvx_test::TempDir dir;
  for (const std::string& path : {dir.path().string(), (dir.path() / "missing.dat").string()}) {
    EXPECT_FALSE(db.LoadFile(path, error)) << path;
    EXPECT_EQ(error.kind, orvx::LoadError::Io) << path;
    EXPECT_EQ(error.message.rfind(path, 0), 0u) << error.message;
  }
  EXPECT_EQ(db.size(), count);
}

TEST(Database, TwoDatabasesReadFromTwoThreads) {
  orvx::ModelDatabase sample, other;
  orvx::LoadError error;
  ASSERT_TRUE(sample.LoadFile(ORVX_SAMPLE_DB, error)) << error.message;
  ASSERT_TRUE(other.LoadBytes(DatabaseOf({"Default", "Vantor LP-1200"}), error));

  const auto reader = [](const orvx::ModelDatabase& db, std::ptrdiff_t expected, int& mismatches) {
    for (int round = 0; round < 2000; ++round) {
      const auto found = db.Lookup("Vantor LP-1200 PCL6");
      if (found.index != expected || db[static_cast<std::size_t>(found.index)].GetModelName() != "Vantor LP-1200")
        ++mismatches;
    }
  };
  int bad1 = 0, bad2 = 0;
  std::thread t1(reader, std::cref(sample), 2, std::ref(bad1));
  std::thread t2(reader, std::cref(other), 1, std::ref(bad2));
  t1.join();
  t2.join();
  EXPECT_EQ(bad1, 0);
  EXPECT_EQ(bad2, 0);
  EXPECT_TRUE(CPrnStaticInfoArray.IsEmpty());  // owned databases never touch the model array
}
