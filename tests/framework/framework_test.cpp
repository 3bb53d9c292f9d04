#include <gtest/gtest.h>

#include "orvx/afx_coll.h"
#include "orvx/afx_host.h"
#include "orvx/afx_object.h"
#include "orvx/prn_static_info.h"

TEST(CStringTest, FindAnswersMinusOneForNothing) {
  EXPECT_EQ(CString("Cassette 1").Find("tte"), 5);
  EXPECT_EQ(CString("Cassette 1").Find("Tray"), -1);
}

TEST(RuntimeClass, CreatesTheThreeRecordClassesByName) {
  struct Case {
    const char* name;
    UINT schema;
  };
  for (const Case c : {Case{"CPrnStaticInfo", 1}, Case{"COptInTray", 0xFFFF}, Case{"COptOutTray", 0xFFFF}}) {
    SCOPED_TRACE(c.name);
    const CRuntimeClass* cls = CRuntimeClass::FromName(c.name);
    ASSERT_NE(cls, nullptr);
    EXPECT_EQ(cls->m_wSchema, c.schema);
    std::unique_ptr<CObject> obj(CRuntimeClass::CreateObject(c.name));
    ASSERT_NE(obj, nullptr);
    EXPECT_EQ(obj->GetRuntimeClass(), cls);
    EXPECT_STREQ(obj->GetRuntimeClass()->m_lpszClassName, c.name);
    EXPECT_TRUE(obj->IsKindOf(&CObject::classCObject));
    EXPECT_EQ(obj->IsSerializable(), c.schema != 0xFFFF);
  }
  EXPECT_EQ(CRuntimeClass::CreateObject("CNoSuchClass"), nullptr);
  COptInTray tray;
  EXPECT_FALSE(tray.IsKindOf(CRuntimeClass::FromName("CPrnStaticInfo")));
  std::unique_ptr<CPrnStaticInfo> r(static_cast<CPrnStaticInfo*>(CPrnStaticInfo::CreateObject()));
  EXPECT_EQ(r->GetModelName(), "Other Printer");
}

TEST(HostMessageBox, GoesToTheInstalledHandler) {
  std::string seen;
  UINT style = 0;
  orvx::host::SetMessageBoxHandler([&](std::string_view text, UINT type, UINT) {
    seen = text;
    style = type;
    return 7;
  });
  EXPECT_EQ(AfxMessageBox("hello", MB_ICONSTOP), 7);
  EXPECT_EQ(seen, "hello");
  EXPECT_EQ(style, 0x10u);
  orvx::host::SetMessageBoxHandler(nullptr);
#if !defined(_WIN32)  // there, the platform's own box (dll_host_test)
  testing::internal::CaptureStderr();
  EXPECT_EQ(AfxMessageBox("to stderr"), IDOK);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "to stderr\n");
#endif
}

TEST(ExtensionModule, InitNeedsAModuleAndTermUnlinksItsLibraries) {
  AFX_EXTENSION_MODULE state;
  EXPECT_FALSE(AfxInitExtensionModule(state, nullptr));
  int handle = 0;
  ASSERT_TRUE(AfxInitExtensionModule(state, &handle));
  const int before = orvx::host::LinkedModuleCount();
  new CDynLinkLibrary(state);
  EXPECT_EQ(orvx::host::LinkedModuleCount(), before + 1);
  AfxTermExtensionModule(state);
  EXPECT_EQ(orvx::host::LinkedModuleCount(), before);
}

// The pointer array's edits, arguments out of range included. Its stamp moves
// exactly when its elements change: lookup indexes over it live that long.
TEST(PtrArray, EditsAndTheirStamp) {
  int slots[3];
  void* const p[] = {nullptr, &slots[0], &slots[1], &slots[2]};  // 0 null, 1 2 3 the elements, 3 also the one added
  struct Row {
    char edit;  // RemoveAt(i, n), InsertAt(i, p[3], n), SetAtGrow(i, p[3]), SetSize(i)
    int i, n;
    std::vector<int> after;
  };
  const Row rows[] = {{'R', 0, 1, {2, 3}}, {'R', 1, 5, {1}},     {'R', 3, 1, {1, 2, 3}},       {'R', -1, 1, {1, 2, 3}},
                      {'R', 1, 0, {1, 2, 3}}, {'I', 0, 2, {3, 3, 1, 2, 3}}, {'I', 3, 1, {1, 2, 3, 3}},
                      {'I', 4, 1, {1, 2, 3, 0, 3}}, {'I', -1, 1, {1, 2, 3}}, {'I', 1, 0, {1, 2, 3}},
                      {'G', 3, 0, {1, 2, 3, 3}}, {'G', 0, 0, {3, 2, 3}}, {'G', -1, 0, {1, 2, 3}},
                      {'S', 4, 0, {1, 2, 3, 0}}, {'S', 1, 0, {1}}, {'S', 0, 0, {}}};
  for (const Row& row : rows) {
    CPtrArray array;
    for (int k = 1; k <= 3; ++k) array.Add(p[k]);
    const std::uint64_t before = array.Stamp();
    if (row.edit == 'R') array.RemoveAt(row.i, row.n);
    if (row.edit == 'I') array.InsertAt(row.i, p[3], row.n);
    if (row.edit == 'G') array.SetAtGrow(row.i, p[3]);
    if (row.edit == 'S') array.SetSize(row.i);
    std::vector<void*> want;
    for (const int k : row.after) want.push_back(p[k]);
    SCOPED_TRACE(testing::Message() << row.edit << " " << row.i << " " << row.n);
    EXPECT_EQ(std::vector<void*>(array.begin(), array.end()), want);
    EXPECT_EQ(array.Stamp() != before, row.after != std::vector<int>({1, 2, 3}));
  }
}
