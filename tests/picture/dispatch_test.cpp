// Choice of rule, name normalisation and the name-list entry points.
#include <map>

#include "orvx/picture.h"
#include "picture_harness.h"

using namespace picture_test;

TEST(Dispatch, RuleChoiceForEveryGroup) {
  const std::map<int, std::string> classic1 = {
      {1, "Jacana"}, {2, "Crake"},   {3, "Finch"},   {4, "Finch"},   {5, "Vireo"},   {6, "Fulmar"},
      {7, "Fulmar"}, {8, "Egret"},   {9, "Egret"},   {10, "Mallard"}, {11, "Fulmar"}, {12, "Dipper"},
      {13, "Curlew"}, {14, "Fulmar"}, {15, "Grebe"}, {16, "Heron"},  {17, "Dipper"}};
  const std::map<int, std::string> classic2 = {
      {1, "Bunting"},   {2, "Ibis"},    {3, "Ibis"},    {4, "Tern"},   {6, "Redshank"}, {7, "Redshank"},
      {8, "Redshank"}, {9, "Quail"},   {10, "Bittern"}, {13, "Avocet"}, {14, "Auklet"},  {15, "Quail"}};
  const std::map<int, std::string> extended1 = {
      {16, "Heron"}, {18, "Plover"}, {19, "Dunlin"}, {20, "Kestrel"}, {22, "Wren"}, {23, "Dunlin"},
      {28, "Eider"}, {29, "Eider"},  {31, "Yellowlegs"}, {32, "Yellowlegs"}, {36, "Yellowlegs"}};
  const std::map<int, std::string> extended2 = {
      {14, "Auklet"}, {16, "Plover"},  {17, "Osprey"}, {18, "Dunlin"}, {19, "Wagtail"}, {20, "Gannet"},
      {21, "Dunlin"}, {22, "Osprey"},  {23, "Wagtail"}, {24, "Dunlin"}, {25, "Eider"},   {26, "Shrike"},
      {27, "Shrike"}, {28, "Eider"},   {29, "Lapwing"}, {32, "Gannet"}};
  const auto name = [](const orvx::PictureRoute& r) { return std::string(r.rule ? r.rule : ""); };
  for (int group = 0; group <= 70; ++group) {
    SCOPED_TRACE(group);
    for (const int vendor : {0, 3, 9}) {
      EXPECT_EQ(orvx::ChoosePictureRule(vendor, group, false).rule, nullptr);
      EXPECT_EQ(orvx::ChoosePictureRule(vendor, group, true).rule, nullptr);
    }
    const auto c1 = classic1.find(group);
    EXPECT_EQ(name(orvx::ChoosePictureRule(1, group, false)), c1 == classic1.end() ? "" : "GetOptionFlag_" + c1->second);
    const auto c2 = classic2.find(group);
    const auto r2 = orvx::ChoosePictureRule(2, group, false);
    EXPECT_EQ(name(r2), c2 == classic2.end() ? "" : "GetOptionFlag_" + c2->second);
    EXPECT_EQ(r2.fixedResult, (group == 5 || group == 11 || group == 12) ? 0x800u : 0u);
    const auto e1 = extended1.find(group);
    EXPECT_EQ(name(orvx::ChoosePictureRule(1, group, true)),
              "GetOptionFlagEx_" + (e1 == extended1.end() ? std::string("Nightjar") : e1->second));
    const auto e2 = extended2.find(group);
    EXPECT_EQ(name(orvx::ChoosePictureRule(2, group, true)), e2 == extended2.end() ? "" : "GetOptionFlagEx_" + e2->second);
  }
}

TEST(Dispatch, NormalisationByVendorAndEntry) {
  struct Case {
    int vendor;
    bool extended;
    std::vector<std::string> in;
    std::vector<std::string> out;
  };
  const std::vector<T> in = {"Optional Cassette 2", "Option Tray 3", "Optional", "Optionless", "Option", "Opt", "Cassette"};
  const std::vector<T> out = {"Optional Face Up", "Option Tray 3", "Optional"};
  const std::vector<std::string> kept = {"Optional Cassette 2", "Option Tray 3", "Optional", "Optionless", "Option", "Opt",
                                         "Cassette"};
  const std::vector<std::string> stripped = {"Cassette 2", "Tray 3", "", "ess", "", "Opt", "Cassette"};
  const std::vector<std::string> outKept = {"Optional Face Up", "Option Tray 3", "Optional"};
  const std::vector<std::string> outStripped = {"Face Up", "Option Tray 3", ""};
  const Case cases[] = {
      {1, false, stripped, outStripped},  // printer line, classic: stripped
      {2, false, kept, outKept},          // copier line, classic: kept
      {3, false, kept, outKept},          // unknown vendor, classic: untouched
      {1, true, stripped, outStripped},   // extended: always stripped
      {2, true, stripped, outStripped},
      {3, true, stripped, outStripped},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "vendor " << c.vendor << (c.extended ? " extended" : " classic"));
    const Outcome o = Call({.vendor = c.vendor, .group = 7, .in = in, .out = out}, c.extended);
    EXPECT_EQ(o.inNames, c.in);
    EXPECT_EQ(o.outNames, c.out);
    if (c.vendor == 3) {
      EXPECT_EQ(o.result, 0u);
    }
  }
  // Stripped names are what the rules see: "Optional Cassette 1" is Cassette 1.
  Check({.vendor = 1, .group = 12, .in = {"Optional Cassette 1", "Option Cassette 2"}}, {0x3, {20, 21}, {}}, false);
}

TEST(Dispatch, NameListFormsLeaveNothingBehind) {
  CPrnStaticInfo record;
  record.SetVenderID(2);
  record.SetModelGroupID(13);
  CStringList none;
  EXPECT_EQ(record.GetPictureID(none, none, 0, 0), 0x100Fu);  // Avocet's fallback
  record.SetModelGroupID(18);
  EXPECT_EQ(record.GetPictureIDEx(none, none, none, none), 0x4000000u);  // Dunlin
  CStringList in{"Optional Cassette 1", "Cassette 2"}, out{"Face Down"};
  const CStringList inBefore = in;
  record.SetVenderID(1);
  record.SetModelGroupID(12);
  EXPECT_EQ(record.GetPictureID(in, out, 1, 0), 0x10003u);
  EXPECT_EQ(in.GetHead(), inBefore.GetHead());  // the caller's names are untouched
}
