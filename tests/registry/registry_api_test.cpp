// The registry calls as the library uses them. On Windows they run against
// the platform's registry, elsewhere against the store files: the answers
// must be the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "orvx/afx_registry.h"
#include "registry_fixture.h"

using orvx_test::BinaryValue;
using orvx_test::DwordValue;
using orvx_test::RegValue;
using orvx_test::StringValue;

namespace {

// Values sorted by name: the enumeration order is the platform's.
std::vector<RegValue> Sorted(std::vector<RegValue> values) {
  std::sort(values.begin(), values.end(), [](const RegValue& a, const RegValue& b) { return a.name < b.name; });
  return values;
}

class RegistryApi : public orvx_test::RegistryFixture {
 protected:
  void SetUp() override {
    RegistryFixture::SetUp();
    root_ = Own(HKEY_CURRENT_USER, "Software\\orvx-test-" + tag_);
  }
  std::string root_;
};

}  // namespace

TEST_F(RegistryApi, CreatedKeysAndValuesReadBackInAnyLetterCase) {
  HKEY key;
  DWORD disposition = 0;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, (root_ + "\\App\\Com").c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                            &key, &disposition),
            ERROR_SUCCESS);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
  std::vector<BYTE> big(300);
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<BYTE>(i);
  const std::vector<RegValue> values = {StringValue("", "line\nbreak"), BinaryValue("COM3", big),
                                        DwordValue("Count", 0x0A0B0C0D), BinaryValue("Empty", {}),
                                        {"Multi", REG_MULTI_SZ, {'a', 0, 'b', 'c', 0, 0}}};
  for (const auto& v : values)
    ASSERT_EQ(RegSetValueExA(key, v.name.c_str(), 0, v.type, v.data.data(), static_cast<DWORD>(v.data.size())),
              ERROR_SUCCESS);
  // A handle reads and writes values only as far as it was opened for.
  BYTE four[4];
  DWORD size = sizeof four, type = 0;
  EXPECT_EQ(RegQueryValueExA(key, "Count", nullptr, &type, four, &size), ERROR_ACCESS_DENIED);
  RegCloseKey(key);
  ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, (root_ + "\\APP\\com").c_str(), 0, nullptr, 0, KEY_READ, nullptr, &key,
                            &disposition),
            ERROR_SUCCESS);
  EXPECT_EQ(disposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
  EXPECT_EQ(Sorted(orvx_test::EnumerateValues(key)), values);  // `values` is in name order
  EXPECT_EQ(RegSetValueExA(key, "Count", 0, REG_BINARY, four, 1), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegQueryValueExA(key, "count", nullptr, &type, four, &size), ERROR_SUCCESS);
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(four[0] + (four[3] << 8), 0x0A0D);
  EXPECT_EQ(RegQueryValueExA(key, "Missing", nullptr, nullptr, four, &size), ERROR_FILE_NOT_FOUND);
  RegCloseKey(key);

  // A parent made for its child exists, without values; other paths and the other hive do not.
  EXPECT_EQ(Open(HKEY_CURRENT_USER, root_ + "\\App"), ERROR_SUCCESS);
  EXPECT_TRUE(Values(HKEY_CURRENT_USER, root_ + "\\App").empty());
  EXPECT_EQ(Open(HKEY_CURRENT_USER, root_ + "\\Ap"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Open(HKEY_LOCAL_MACHINE, root_), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryApi, ValuesReplacedInPlace) {
  Put(HKEY_CURRENT_USER, root_, {DwordValue("a", 1), DwordValue("B", 2)});
  // Another letter case names the same value: one value, its first spelling, the last data.
  Put(HKEY_CURRENT_USER, root_, {DwordValue("A", 3), BinaryValue("b", {7})});
  EXPECT_EQ(Sorted(Values(HKEY_CURRENT_USER, root_)), (std::vector<RegValue>{BinaryValue("B", {7}), DwordValue("a", 3)}));
}

TEST_F(RegistryApi, BufferLimits) {
  const std::string name31(31, 'a'), name32(32, 'b');
  Put(HKEY_CURRENT_USER, root_,
      {DwordValue(name31, 1), BinaryValue(name32, {1, 2, 3, 4, 5, 6, 7, 8}), BinaryValue("Short", {1, 2})});
  HKEY key;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, root_.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);

  // A 32-byte name buffer holds names of up to 31 characters.
  std::vector<DWORD> lengths;
  int tooLong = 0;
  for (DWORD i = 0; i < 3; ++i) {
    char name[33];
    std::memset(name, 0x7F, sizeof name);
    DWORD length = 32;
    const LONG r = RegEnumValueA(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (r == ERROR_MORE_DATA) ++tooLong;
    if (r == ERROR_SUCCESS) {
      lengths.push_back(length);
      EXPECT_EQ(name[length], '\0');
      EXPECT_EQ(name[length + 1], 0x7F);  // nothing past the terminating zero
    }
  }
  std::sort(lengths.begin(), lengths.end());
  EXPECT_EQ(tooLong, 1);
  EXPECT_EQ(lengths, (std::vector<DWORD>{5, 31}));
  char name[32];
  DWORD length = sizeof name;
  EXPECT_EQ(RegEnumValueA(key, 3, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);

  // Too small a buffer: ERROR_MORE_DATA, the size needed, the buffer untouched.
  BYTE four[4] = {9, 9, 9, 9};
  DWORD size = 4;
  EXPECT_EQ(RegQueryValueExA(key, name32.c_str(), nullptr, nullptr, four, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(four[0], 9);
  size = 4;
  EXPECT_EQ(RegQueryValueExA(key, "Short", nullptr, nullptr, four, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(four[0], 1);
  EXPECT_EQ(four[2], 9);  // nothing past the value's bytes
  size = 0;
  EXPECT_EQ(RegQueryValueExA(key, "Short", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}

TEST(Platform, VersionAndKernelHelpers) {
  OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = 100;
  SetLastError(0);
  EXPECT_FALSE(GetVersionExA(&info));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  info.dwOSVersionInfoSize = sizeof info;
  ASSERT_TRUE(GetVersionExA(&info));
  EXPECT_EQ(info.dwPlatformId, static_cast<DWORD>(VER_PLATFORM_WIN32_NT));
  EXPECT_GE(info.dwMajorVersion, 5u);
  struct {
    OSVERSIONINFOA basic;
    BYTE extended[8];
  } longer{};
  longer.basic.dwOSVersionInfoSize = sizeof longer;  // the extended record
  static_assert(sizeof longer == 156);
  EXPECT_TRUE(GetVersionExA(&longer.basic));
#if !defined(_WIN32)
  orvx::host::SetPlatformId(1);
  ASSERT_TRUE(GetVersionExA(&info));
  EXPECT_EQ(info.dwPlatformId, 1u);
  orvx::host::SetPlatformId(VER_PLATFORM_WIN32_NT);
#endif
  EXPECT_EQ(lstrlenA(nullptr), 0);
  EXPECT_EQ(lstrlenA("abc"), 3);
}
