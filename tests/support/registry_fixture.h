// A registry for one test. Elsewhere than on Windows both hives are store
// files in a fresh temporary directory; on Windows the tests share the
// platform's registry, so every key a test makes carries a tag of its own and
// is deleted at the end.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "orvx/afx_host.h"
#include "orvx/afx_registry.h"
#include "test_util.h"

namespace orvx_test {

struct RegValue {
  std::string name;
  DWORD type;
  std::vector<BYTE> data;
  bool operator==(const RegValue&) const = default;
};
inline void PrintTo(const RegValue& v, std::ostream* os) {
  *os << '"' << v.name << "\" type " << v.type << ' ' << testing::PrintToString(v.data);
}

inline RegValue DwordValue(std::string name, DWORD v) {
  return {std::move(name), REG_DWORD,
          {static_cast<BYTE>(v), static_cast<BYTE>(v >> 8), static_cast<BYTE>(v >> 16), static_cast<BYTE>(v >> 24)}};
}

inline RegValue BinaryValue(std::string name, std::vector<BYTE> data) {
  return {std::move(name), REG_BINARY, std::move(data)};
}

inline RegValue StringValue(std::string name, std::string_view text) {
  std::vector<BYTE> data(text.begin(), text.end());
  data.push_back(0);
  return {std::move(name), REG_SZ, std::move(data)};
}

// Every value of `key`, in the registry's enumeration order.
inline std::vector<RegValue> EnumerateValues(HKEY key) {
  std::vector<RegValue> out;
  for (DWORD i = 0;; ++i) {
    char name[256];
    DWORD nameLength = sizeof name, type = 0, size = 1024;
    BYTE data[1024];
    const LONG r = RegEnumValueA(key, i, name, &nameLength, nullptr, &type, data, &size);
    if (r == ERROR_NO_MORE_ITEMS) break;
    EXPECT_EQ(r, ERROR_SUCCESS);
    if (r != ERROR_SUCCESS || i > 1000) break;
    out.push_back({std::string(name, nameLength), type, std::vector<BYTE>(data, data + size)});
  }
  return out;
}

class RegistryFixture : public testing::Test {
 protected:
  void SetUp() override {
#if !defined(_WIN32)
    machine_ = (dir_.path() / "hklm.reg").string();
    user_ = (dir_.path() / "hkcu.reg").string();
    orvx::host::SetRegistryFile(HKEY_LOCAL_MACHINE, machine_);
    orvx::host::SetRegistryFile(HKEY_CURRENT_USER, user_);
#endif
  }
  void TearDown() override {
    DeleteOwnedKeys();
#if !defined(_WIN32)
    orvx::host::SetRegistryFile(HKEY_LOCAL_MACHINE, "");
    orvx::host::SetRegistryFile(HKEY_CURRENT_USER, "");
#endif
  }

  // `path` below `hive`, recorded for deletion at the end of the test.
  std::string Own(HKEY hive, std::string path) {
    owned_.emplace_back(hive, path);
    return path;
  }

  // Opens hive\path with `access` and closes it again: the answer to the open.
  static LONG Open(HKEY hive, const std::string& path, REGSAM access = KEY_READ) {
    HKEY key;
    const LONG r = RegOpenKeyExA(hive, path.c_str(), 0, access, &key);
    if (r == ERROR_SUCCESS) RegCloseKey(key);
    return r;
  }
  // Every value of hive\path in enumeration order; none when it cannot be opened.
  static std::vector<RegValue> Values(HKEY hive, const std::string& path) {
    HKEY key;
    if (RegOpenKeyExA(hive, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return {};
    auto values = EnumerateValues(key);
    RegCloseKey(key);
    return values;
  }
  // Sets one value of the existing key hive\path: the answer to the open or the set.
  static LONG Set(HKEY hive, const std::string& path, const RegValue& v) {
    HKEY key;
    LONG r = RegOpenKeyExA(hive, path.c_str(), 0, KEY_WRITE, &key);
    if (r != ERROR_SUCCESS) return r;
    r = RegSetValueExA(key, v.name.c_str(), 0, v.type, v.data.data(), static_cast<DWORD>(v.data.size()));
    RegCloseKey(key);
    return r;
  }

  // Creates hive\path and sets `values` there, through the registry calls.
  static void Put(HKEY hive, const std::string& path, const std::vector<RegValue>& values) {
    HKEY key;
    ASSERT_EQ(RegCreateKeyExA(hive, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_SUCCESS)
        << path;
    for (const auto& v : values)
      EXPECT_EQ(RegSetValueExA(key, v.name.c_str(), 0, v.type, v.data.data(), static_cast<DWORD>(v.data.size())),
                ERROR_SUCCESS)
          << v.name;
    RegCloseKey(key);
  }

  // Deletes every key the test owns, with everything below it.
  void DeleteOwnedKeys() {
#if defined(_WIN32)
    for (const auto& [hive, path] : owned_) RegDeleteTreeA(hive, path.c_str());
#else
    // The store has no deletion: the test's files start again empty.
    if (!owned_.empty()) {
      Write(machine_, "REGEDIT4\n");
      Write(user_, "REGEDIT4\n");
    }
#endif
  }

  static void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  static std::string Read(const std::string& path) { return ReadAll(path); }

  const std::string tag_ = UniqueTag();
  std::vector<std::pair<HKEY, std::string>> owned_;
#if !defined(_WIN32)
  TempDir dir_;
  std::string machine_;
  std::string user_;
#endif
};

// The registry fixture, with the host's application named "Monitor-<tag>" and
// its registry key "Vantor", as a COM-port host would have them.
class HostAppFixture : public RegistryFixture {
 protected:
  void SetUp() override {
    RegistryFixture::SetUp();
    app_ = "Monitor-" + tag_;
    orvx::host::SetAppName(app_);
    orvx::host::SetRegistryKey("Vantor");
    Own(HKEY_CURRENT_USER, "Software\\Vantor\\" + app_);
  }
  void TearDown() override {
    orvx::host::SetAppName("orvx");
    orvx::host::SetRegistryKey("");
    RegistryFixture::TearDown();
  }
  std::string ComKey() const { return "Software\\Vantor\\" + app_ + "\\Com"; }

  std::string app_;
};

}  // namespace orvx_test
