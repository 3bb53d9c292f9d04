// Choice of rule.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "orvx/picture.h"

TEST(Dispatch, RuleChoiceForEveryGroup) {
  // The product's group lists, one line per vendor and entry: "rule groups...;".
  const std::map<std::pair<int, bool>, std::string> lists = {
      {{1, false}, "Jacana 1; Crake 2; Finch 3 4; Vireo 5; Fulmar 6 7 11 14; Egret 8 9; Mallard 10; Dipper 12 17; "
                   "Curlew 13; Grebe 15; Heron 16;"},
      {{2, false}, "Bunting 1; Ibis 2 3; Tern 4; Redshank 6 7 8; Quail 9 15; Bittern 10; Avocet 13; Auklet 14;"},
      {{1, true}, "Heron 16; Plover 18; Dunlin 19 23; Kestrel 20; Wren 22; Eider 28 29; Yellowlegs 31 32 36;"},
      {{2, true}, "Auklet 14; Plover 16; Osprey 17 22; Dunlin 18 21 24; Wagtail 19 23; Gannet 20 32; Eider 25 28; "
                  "Shrike 26 27; Lapwing 29;"},
  };
  std::map<std::tuple<int, bool, int>, std::string> rule;
  for (const auto& [line, text] : lists) {
    std::istringstream in(text);
    for (std::string name, groups; in >> name && std::getline(in, groups, ';');) {
      std::istringstream g(groups);
      for (int group; g >> group;) rule[{line.first, line.second, group}] = name;
    }
  }
  for (int group = -1; group <= 70; ++group) {  // past 62 and below 0: the line's row for every other group
    for (const int vendor : {0, 1, 2, 3, 9}) {
      for (const bool extended : {false, true}) {
        SCOPED_TRACE(testing::Message() << vendor << "/" << group << (extended ? " extended" : " classic"));
        const auto found = rule.find({vendor, extended, group});
        std::string expected = found != rule.end() ? found->second : vendor == 1 && extended ? "Nightjar" : "";
        if (!expected.empty()) expected = (extended ? "GetOptionFlagEx_" : "GetOptionFlag_") + expected;
        const orvx::PictureRoute r = orvx::ChoosePictureRule(vendor, group, extended);
        EXPECT_EQ(r.rule ? r.rule : "", expected);
        const bool fixed = vendor == 2 && !extended && (group == 5 || group == 11 || group == 12);
        EXPECT_EQ(r.fixedResult, fixed ? 0x800u : 0u);
      }
    }
  }
}

// A rule's own rows for document units list the bit the unit sets, as its step credits it.
TEST(Dispatch, DocumentUnitRowsListTheirBits) {
  for (const auto& [group, wanted] : {std::pair{17, "vendor 2 and a document unit"},
                                      std::pair{29, "a document unit: replaces the start value"}}) {
    const std::string test = wanted;  // a lambda may not capture a structured binding before C++20 in every compiler
    const auto* rows = orvx::PictureRuleRows(orvx::ChoosePictureRule(2, group, true).rule);
    ASSERT_NE(rows, nullptr);
    EXPECT_TRUE(std::any_of(rows->begin(), rows->end(), [&](const orvx::PictureRuleRow& r) {
      return r.table == orvx::PictureTraceStep::Rule && r.test == test && r.bits == 0x4000000u;
    })) << group;
  }
}
