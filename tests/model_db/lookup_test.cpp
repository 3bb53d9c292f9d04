#include <gtest/gtest.h>

#include "orvx/model_db.h"
#include "test_util.h"

namespace {

// Fills the model array with records of these names.
void Fill(std::initializer_list<const char*> names) {
  CPrnStaticInfoArray_RemoveAll();
  for (const char* n : names) {
    auto* r = new CPrnStaticInfo;
    r->SetModelName(n);
    CPrnStaticInfoArray.Add(r);
  }
}

int IndexOf(const CPrnStaticInfo* r) {
  for (int i = 0; i < CPrnStaticInfoArray.GetSize(); ++i)
    if (CPrnStaticInfoArray[i] == r) return i;
  return -1;
}

}  // namespace

TEST(Lookup, EmptyArrayGivesNull) {
  orvx_test::ModelArrayGuard guard;
  EXPECT_EQ(GetPointerToCPrnStaticInfo("anything"), nullptr);
  EXPECT_EQ(GetPointerToCPrnStaticInfo(""), nullptr);
  EXPECT_EQ(GetPointerToCPrnStaticInfo(nullptr), nullptr);
}

TEST(Lookup, PassesAndFallbacks) {
  orvx_test::ModelArrayGuard guard;
  struct Case {
    std::initializer_list<const char*> records;
    const char* key;
    int expected;
  };
  const Case cases[] = {
      // exact pass wins even over an earlier substring
      {{"Default", "LP-1", "LP-1100"}, "LP-1100", 2},
      // substring pass: first record whose name occurs in the key
      {{"Default", "LP-1", "LP-1100"}, "Vantor LP-1100 PS", 1},
      {{"Default", "LP-1100"}, "Vantor LP-1100 PS", 1},
      // no match: element 0
      {{"Default", "LP-1100"}, "DC-2000", 0},
      {{"Default", "LP-1100"}, "", 0},
      // "hp" becomes "HP" before the substring pass
      {{"Default", "HP LaserPrinter 5"}, "hp LaserPrinter 5 PCL", 1},
      {{"Default", "HP LaserPrinter 5"}, "Hp LaserPrinter 5", 0},
      {{"Default", "HP LaserPrinter 5"}, "hP LaserPrinter 5", 0},
      {{"Default", "hp x"}, "hp x", 1},  // the exact pass sees the key as given
      {{"Default", "h"}, "h", 1},
      // a record named exactly "HP"
      {{"Default", "HP", "Vantor HP"}, "Vantor HP", 2},  // exact
      {{"Default", "HP", "Vantor HP"}, "Vantor HP 2", 0},
      {{"Default", "HP", "Vantor HP"}, "HP Vantor", 1},
      {{"Default", "HP", "Vantor HP"}, "hp Vantor", 1},
      // an empty model name matches every key from its position on
      {{"Default", "", "LP-1100"}, "LP-1100 PS", 1},
      {{"Default", "LP-1100", ""}, "LP-1100 PS", 1},
      // a longer, better match later in the array loses to an earlier one
      {{"Default", "LP", "LP-1100"}, "LP-1100 PS", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    Fill(c.records);
    EXPECT_EQ(IndexOf(GetPointerToCPrnStaticInfo(c.key)), c.expected);
  }
}

TEST(Lookup, EmptyAfterRemoveAll) {
  orvx_test::ModelArrayGuard guard;
  Fill({"A", "B"});
  ASSERT_NE(GetPointerToCPrnStaticInfo("B"), nullptr);
  CPrnStaticInfoArray_RemoveAll();
  EXPECT_EQ(GetPointerToCPrnStaticInfo("B"), nullptr);
  CPrnStaticInfoArray_RemoveAll();  // already empty: nothing happens
  EXPECT_EQ(CPrnStaticInfoArray.GetSize(), 0);
}
