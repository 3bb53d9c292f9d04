// The explain trace tells what the rules did: over every record of the sample
// database, each tray's step carries the ID the tray ends with, and the bits
// the steps added are all in the picture ID.
#include <gtest/gtest.h>

#include "orvx/database.h"
#include "orvx/picture_trace.h"

TEST(PictureTrace, AgreesWithThePictureItExplains) {
  orvx::ModelDatabase db;
  orvx::LoadError error;
  ASSERT_TRUE(db.LoadFile(ORVX_SAMPLE_DB, error)) << error.message;
  const std::vector<std::vector<const char*>> inLists = {
      {"Multi Purpose Tray", "Optional Cassette 1", "Cassette 2", "Cassette 3"},
      {"Bypass", "Tray 1", "Tray 2", "LCT", "Manual"},
  };
  const std::vector<const char*> outNames = {"Face Down Tray", "Finisher", "Mailbox 1", "Stacker"};
  int explainedBits = 0;
  for (std::size_t i = 0; i < db.size(); ++i) {
    for (const auto& inNames : inLists) {
      for (const bool extended : {false, true}) {
        std::vector<COptInTray> in(inNames.size());
        std::vector<COptOutTray> out(outNames.size());
        CPtrArray inArray, outArray;
        for (std::size_t t = 0; t < in.size(); ++t) in[t].SetName(inNames[t]), inArray.Add(&in[t]);
        for (std::size_t t = 0; t < out.size(); ++t) out[t].SetName(outNames[t]), outArray.Add(&out[t]);
        CStringList options, docs;
        options.AddTail("Duplex Unit");
        options.AddTail("Finisher");
        orvx::PictureTrace trace;
        const DWORD id = extended ? db[i].GetPictureIDEx(inArray, outArray, options, docs)
                                  : db[i].GetPictureID(inArray, outArray, 1, 1);
        SCOPED_TRACE(db[i].GetModelName().str() + (extended ? " extended" : " classic"));
        DWORD added = 0;
        std::size_t inSteps = 0, outSteps = 0;
        for (const auto& step : trace.Steps()) {
          added |= step.added;
          EXPECT_EQ(step.row < 0, step.test.empty());
          if (step.kind == orvx::PictureTraceStep::InTray) {
            ASSERT_LT(inSteps, in.size());
            EXPECT_EQ(step.id, in[inSteps++].GetID());
          } else if (step.kind == orvx::PictureTraceStep::OutTray) {
            ASSERT_LT(outSteps, out.size());
            EXPECT_EQ(step.id, out[outSteps++].GetID());
          }
        }
        // A rule either runs the table engine over every tray or over none.
        EXPECT_TRUE(inSteps == 0 || inSteps == in.size());
        EXPECT_EQ(added & ~id, 0u);
        explainedBits += added != 0;
      }
    }
  }
  EXPECT_GT(explainedBits, 100);  // the trace is not silent
  EXPECT_EQ(orvx::PictureTrace::Current(), nullptr);
}
