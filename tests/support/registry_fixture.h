// Points both registry hives at files in a fresh temporary directory.
#pragma once

#include <gtest/gtest.h>

#include <fstream>

#include "orvx/afx_host.h"
#include "orvx/afx_registry.h"
#include "test_util.h"

namespace orvx_test {

class RegistryFixture : public testing::Test {
 protected:
  void SetUp() override {
    machine_ = (dir_.path() / "hklm.reg").string();
    user_ = (dir_.path() / "hkcu.reg").string();
    orvx::host::SetRegistryFile(HKEY_LOCAL_MACHINE, machine_);
    orvx::host::SetRegistryFile(HKEY_CURRENT_USER, user_);
  }
  void TearDown() override {
    orvx::host::SetRegistryFile(HKEY_LOCAL_MACHINE, "");
    orvx::host::SetRegistryFile(HKEY_CURRENT_USER, "");
  }
  static void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }
  static std::string Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  }

  TempDir dir_;
  std::string machine_;
  std::string user_;
};

// The registry fixture, with the host's application named "Monitor" and its
// registry key "Vantor", as a COM-port host would have them.
class HostAppFixture : public RegistryFixture {
 protected:
  void SetUp() override {
    RegistryFixture::SetUp();
    orvx::host::SetAppName("Monitor");
    orvx::host::SetRegistryKey("Vantor");
  }
  void TearDown() override {
    orvx::host::SetAppName("orvx");
    orvx::host::SetRegistryKey("");
    RegistryFixture::TearDown();
  }
};

}  // namespace orvx_test
