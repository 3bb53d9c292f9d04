// A host program that loads orvx.dll by name, as a Windows host does: the
// system runs the DLL's entry on LoadLibrary and FreeLibrary, and the host
// reaches the exports through GetProcAddress. Nothing of the library is linked.
#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "orvx/afx_host.h"
#include "orvx/prn_static_info.h"
#include "test_util.h"

namespace {

// The exports' names as this compiler decorates them; the C++ functions are
// found by these, the extern "C" ones by their plain names.
constexpr const char* kLookup = "_Z26GetPointerToCPrnStaticInfoPKc";
constexpr const char* kRemoveAll = "_Z29CPrnStaticInfoArray_RemoveAllv";
constexpr const char* kSerialize = "_Z29CPrnStaticInfoArray_SerializeR8CArchive";
constexpr const char* kLinkedModules = "_ZN4orvx4host17LinkedModuleCountEv";
constexpr const char* kSetString = "_ZN4orvx4host17SetStringResourceEjSt17basic_string_viewIcSt11char_traitsIcEE";
constexpr const char* kLoadString =
    "_ZN4orvx4host14LoadHostStringEjRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE";

using LookupFn = CPrnStaticInfo* (*)(const char*);
using VoidFn = void (*)();
using CountFn = int (*)();
using SetStringFn = void (*)(UINT, std::string_view);
using LoadStringFn = bool (*)(UINT, std::string&);

template <typename F>
F Export(HMODULE dll, const char* name) {
  return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(dll, name)));
}

// Runs each case in a fresh current directory, where the DLL looks for ORVDB.dat.
class DllHost : public testing::Test {
 protected:
  void TearDown() override {
    if (dll_) {
      EXPECT_TRUE(FreeLibrary(dll_));
    }
  }
  void PutDatabase(std::size_t keepBytes = SIZE_MAX) {
    const std::string bytes = orvx_test::ReadAll(ORVX_SAMPLE_DB);
    ASSERT_GT(bytes.size(), 4u) << ORVX_SAMPLE_DB;
    std::ofstream(dir_.path() / "ORVDB.dat", std::ios::binary) << bytes.substr(0, keepBytes);
  }
  HMODULE Load() { return dll_ = LoadLibraryA("orvx.dll"); }

  orvx_test::TempDir dir_{true};
  HMODULE dll_ = nullptr;
};

}  // namespace

TEST_F(DllHost, LoadFailsWithoutAReadableDatabase) {
  // The message box cannot be shown without a desktop: the load fails at once.
  EXPECT_EQ(Load(), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
  PutDatabase(100);  // truncated
  EXPECT_EQ(Load(), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
  // Held open by another opener that shares nothing: the DLL cannot open it.
  PutDatabase();
  const HANDLE held = CreateFileA("ORVDB.dat", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Load(), nullptr);
  CloseHandle(held);
}

TEST_F(DllHost, AttachLoadsTheDatabaseAndDetachReleasesEverything) {
  PutDatabase();
  ASSERT_NE(Load(), nullptr);
  const auto lookup = Export<LookupFn>(dll_, kLookup);
  const auto* models = reinterpret_cast<const CPtrArray*>(GetProcAddress(dll_, "CPrnStaticInfoArray"));
  ASSERT_TRUE(lookup && models && Export<VoidFn>(dll_, kSerialize) && Export<VoidFn>(dll_, "ORVX_SaveCommCfg"));
  CPrnStaticInfo* record = lookup("Vantor LP-1200");
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->GetModelName(), "Vantor LP-1200");  // a virtual call into the DLL
  EXPECT_EQ(lookup("no such model"), models->GetAt(0));
  EXPECT_EQ(Export<CountFn>(dll_, kLinkedModules)(), 1);
  Export<VoidFn>(dll_, kRemoveAll)();
  EXPECT_EQ(lookup("Vantor LP-1200"), nullptr);
  // Unloading detaches; loading again attaches and reads the file anew.
  ASSERT_TRUE(FreeLibrary(dll_));
  ASSERT_NE(Load(), nullptr);
  EXPECT_NE(Export<LookupFn>(dll_, kLookup)("Vantor LP-1200"), nullptr);
  EXPECT_EQ(Export<CountFn>(dll_, kLinkedModules)(), 1);
  // Host strings come from the host program's resources first, then from the table.
  Export<SetStringFn>(dll_, kSetString)(9481, "Manual (table)");
  Export<SetStringFn>(dll_, kSetString)(9482, "Default (table)");
  std::string a, b, c;
  const auto loadString = Export<LoadStringFn>(dll_, kLoadString);
  EXPECT_TRUE(loadString(9481, a) && loadString(9482, b) && !loadString(9483, c));
  EXPECT_EQ(a + "|" + b, "Manual Feed (host resources)|Default (table)");
}
