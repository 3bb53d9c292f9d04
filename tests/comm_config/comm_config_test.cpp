#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <tuple>

#include "orvx/afx_host.h"
#include "orvx/comm_store.h"
#include "registry_fixture.h"

namespace {

class CommConfig : public orvx_test::HostAppFixture {};

// A configuration of `size` bytes with a recognisable pattern.
std::vector<BYTE> Config(DWORD size, BYTE seed) {
  std::vector<BYTE> b(std::max<DWORD>(size, sizeof(COMMCONFIG)));
  for (std::size_t i = 0; i < b.size(); ++i) b[i] = static_cast<BYTE>(seed + i);
  std::memcpy(b.data(), &size, 4);
  return b;
}

}  // namespace

TEST_F(CommConfig, DescriptorBitsFourToSevenNameTheValue) {
  struct Case {
    DWORD descriptor;
    const char* value;
  };
  for (const Case c : {Case{0x25, "COM2"}, {0xF0, "COM15"}, {0x105, "COM0"}, {0x0, "COM0"}, {0xFFFFFF3F, "COM3"}}) {
    SCOPED_TRACE(c.value);
    auto cfg = Config(sizeof(COMMCONFIG), static_cast<BYTE>(c.descriptor));
    ASSERT_EQ(ORVX_SaveCommCfg(c.descriptor, reinterpret_cast<COMMCONFIG*>(cfg.data())), 1);
    const auto values = Values(HKEY_CURRENT_USER, ComKey());
    const orvx_test::RegValue stored = orvx_test::BinaryValue(c.value, {cfg.begin(), cfg.begin() + sizeof(COMMCONFIG)});
    EXPECT_NE(std::find(values.begin(), values.end(), stored), values.end());
  }
}

TEST_F(CommConfig, RoundTripAndTheTwoHundredFiftySixByteLimit) {
  for (const DWORD size : {DWORD{52}, DWORD{256}, DWORD{257}}) {
    SCOPED_TRACE(size);
    auto saved = Config(size, 7);
    ASSERT_EQ(ORVX_SaveCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(saved.data())), 1);
    std::vector<BYTE> loaded(300, 0);
    const int ok = ORVX_LoadCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(loaded.data()));
    if (size <= 256) {
      EXPECT_EQ(ok, 1);
      EXPECT_EQ(0, std::memcmp(loaded.data(), saved.data(), size));
      EXPECT_EQ(loaded[size], 0);  // nothing past the stored bytes
    } else {
      EXPECT_EQ(ok, 0);
      EXPECT_EQ(loaded, std::vector<BYTE>(300, 0));
    }
  }
}

TEST_F(CommConfig, MissingKeyOrValueLeavesTheBufferAlone) {
  std::vector<BYTE> buffer(256, 0xAB);
  auto* cfg = reinterpret_cast<COMMCONFIG*>(buffer.data());
  EXPECT_EQ(ORVX_LoadCommCfg(0x20, cfg), 0);  // no key
  auto saved = Config(52, 1);
  ASSERT_EQ(ORVX_SaveCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(saved.data())), 1);
  EXPECT_EQ(ORVX_LoadCommCfg(0x20, cfg), 0);  // key, but no COM2
  EXPECT_EQ(buffer, std::vector<BYTE>(256, 0xAB));
  // The names come from the host at each call.
  orvx::host::SetAppName("Other");
  EXPECT_EQ(ORVX_LoadCommCfg(0x10, cfg), 0);
}

// What the host's calls take whatever its type and length, a caller that
// wants a configuration is told apart.
TEST_F(CommConfig, OnlyABinaryValueOfOneTo256BytesReadsAsAConfiguration) {
  Put(HKEY_CURRENT_USER, ComKey(),
      {orvx_test::BinaryValue("COM4", {8, 1, 0, 0, 1}), orvx_test::StringValue("COM5", "text"),
       orvx_test::BinaryValue("COM6", {}), orvx_test::BinaryValue("COM7", std::vector<BYTE>(300, 1))});
  using S = orvx::Status;
  const std::tuple<DWORD, S::Code, std::string> rows[] = {
      {0x40, S::None, ""},
      {0x50, S::WrongType, "COM5 holds a value of type REG_SZ (1), not a configuration (REG_BINARY)"},
      {0x60, S::EmptyValue, "COM6 holds an empty value, no configuration"},
      {0x70, S::ValueTooLarge, "COM7 holds 300 bytes, too large to load (at most 256)"},
      {0x80, S::NotFound, "no configuration stored for COM8"}};
  for (const auto& [port, code, message] : rows) {
    const auto read = orvx::ReadCommConfig(port);
    EXPECT_EQ(read.status().code, code) << port;
    EXPECT_EQ(read.status().message, message);
  }
  EXPECT_EQ(orvx::ReadCommConfig(0x40).value(), (std::vector<BYTE>{8, 1, 0, 0, 1}));
}

#if !defined(_WIN32)
TEST_F(CommConfig, AMalformedStoreIsNotTouched) {
  Write(user_, "not a registry file\n");
  auto saved = Config(52, 1);
  EXPECT_EQ(ORVX_SaveCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(saved.data())), 0);
  EXPECT_EQ(Read(user_), "not a registry file\n");
  // The store says why, where the host's call says only 0.
  DWORD size = 0;
  const orvx::Status e = orvx::LoadCommConfig(0x10, saved, size);
  EXPECT_EQ(e.code, orvx::Status::BadStore);
  EXPECT_EQ(e.message, "cannot read COM1: " + user_ + ":1: expected the header \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\"");
}
#endif
