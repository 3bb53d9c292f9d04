#include <gtest/gtest.h>

#include "orvx/afx_host.h"
#include "orvx/supported_model.h"
#include "registry_fixture.h"

using orvx_test::RegistryFixture;

namespace {

// Exposes the protected members for the tests.
struct Probe : CSupportedModel {
  using CSupportedModel::CSupportedModel;
  using CSupportedModel::Find;
  using CSupportedModel::LoadFromRegistory;
  using CSupportedModel::Purge;
};

using orvx_test::BinaryValue;
using orvx_test::DwordValue;
using orvx_test::RegValue;
using ValueList = std::vector<RegValue>;

// The host is "Monitor-<tag>", so the default path is the test's own.
class SupportedModels : public RegistryFixture {
 protected:
  void SetUp() override {
    RegistryFixture::SetUp();
    orvx::host::SetAppName("Monitor-" + tag_);
    path_ = Own(HKEY_LOCAL_MACHINE, "SOFTWARE\\Vantor Selby\\Monitor-" + tag_);
    elsewhere_ = Own(HKEY_LOCAL_MACHINE, "SOFTWARE\\Elsewhere-" + tag_);
  }
  void TearDown() override {
#if !defined(_WIN32)
    orvx::host::SetPlatformId(VER_PLATFORM_WIN32_NT);
#endif
    orvx::host::SetAppName("orvx");
    RegistryFixture::TearDown();
  }
  // Lists under `path`, replacing what was there; a null list leaves its key out.
  void Lists(const std::string& path, const ValueList* supported, const ValueList* unsupported) {
    DeleteOwnedKeys();
    if (supported) Put(HKEY_LOCAL_MACHINE, path + "\\Supported Models", *supported);
    if (unsupported) Put(HKEY_LOCAL_MACHINE, path + "\\Unsupported Models", *unsupported);
  }

  std::string path_;
  std::string elsewhere_;
};

}  // namespace

TEST(SMModelInfo, InterfaceByStateAndPlatform) {
  struct Case {
    DWORD state;
    int expected[6];  // interfaces 0 to 5 on platform 2
    int onPlatform1[6];
  };
  const Case cases[] = {
      {0x01000100, {0, 1, 1, 0, 0, 0}, {0, 1, 1, 0, 0, 0}},
      {0x0E000100, {0, 0, 0, 0, 1, 0}, {0, 0, 0, 1, 1, 0}},
      {0x0E000200, {0, 0, 0, 1, 1, 1}, {0, 0, 0, 1, 1, 1}},
      {0x0F000200, {0, 1, 1, 1, 1, 1}, {0, 1, 1, 1, 1, 1}},
      {0x0F000000, {0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0}},
      {0x0F000300, {0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0}},
      {0x0F0001FF, {0, 1, 1, 0, 1, 0}, {0, 1, 1, 1, 1, 0}},  // low byte ignored
      {0xF0FF0200, {0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0}},  // bits outside 24-27 ignored
  };
  for (const auto& c : cases) {
    CSMModelInfo info;
    info.SetState(c.state);
    for (DWORD i = 0; i <= 5; ++i) {
      EXPECT_EQ(info.IsIFSupported(i, 2), c.expected[i]) << std::hex << c.state << " interface " << i;
      EXPECT_EQ(info.IsIFSupported(i, 1), c.onPlatform1[i]) << std::hex << c.state << " interface " << i;
    }
    EXPECT_EQ(info.IsIFSupported(6, 1), 0);
  }
  CSMModelInfo fresh;
  EXPECT_EQ(fresh.GetState(), 0u);
  EXPECT_EQ(fresh.GetModelName(), "");
}

TEST_F(SupportedModels, CachedAndDirectAnswers) {
  const ValueList supported = {DwordValue("LP-1100", 0x01000100), DwordValue("LP-2200", 0x0E000100),
                               DwordValue("DC-3300", 0x0E000200), DwordValue("Both", 0x0F000200),
                               DwordValue(std::string(32, 'L'), 0x0F000200), BinaryValue("Short", {0, 2}),
                               BinaryValue("Long", {0, 1, 0, 1, 9})};
  const ValueList unsupported = {DwordValue("Both", 0), BinaryValue("Old", {1, 2, 3, 4, 5}), BinaryValue("Old4", {1})};
  Lists(path_, &supported, &unsupported);
  struct Case {
    const char* model;
    DWORD interface;
    LONG cached;
    LONG direct;
  };
  const LONG ok = CSupportedModel::kSupported, no = CSupportedModel::kNotSupported,
             listed = CSupportedModel::kListedUnsupported;
  const std::string longName(32, 'L');
  const Case cases[] = {
      {"LP-1100", 1, ok, ok},
      {"LP-1100", 3, no, no},
      {"LP-1100", 0, no, no},
      {"LP-2200", 3, no, no},  // kind 0x0100, platform 2
      {"LP-2200", 4, ok, ok},
      {"LP-2200", 5, no, no},
      {"DC-3300", 5, ok, ok},
      {"lp-1100", 1, no, ok},  // cached lists compare case; the registry does not
      {"Both", 1, listed, listed},
      {"Old", 1, listed, no},  // data longer than 4 bytes: unlisted in direct mode
      {"Old4", 1, listed, listed},
      {"Short", 1, no, no},    // two bytes: the rest of the state is 0
      {longName.c_str(), 1, no, ok},  // too long for the cached enumeration
      {"Unknown", 1, no, no},
  };
  Probe cached;
  Probe direct(0);
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.model << " over " << c.interface);
    EXPECT_EQ(cached.CheckModel(c.model, c.interface), c.cached);
    EXPECT_EQ(direct.CheckModel(c.model, c.interface), c.direct);
  }
  EXPECT_EQ(cached.IsSupportedModel("Both", 1), 1);  // listed in both: supported, yet CheckModel says unsupported
  EXPECT_EQ(direct.Find("LP-1100"), nullptr);
  ASSERT_NE(cached.Find("LP-1100"), nullptr);
  EXPECT_EQ(cached.Find("LP-1100")->GetState(), 0x01000100u);
  ASSERT_NE(cached.Find("Long"), nullptr);
  EXPECT_EQ(cached.Find("Long")->GetState(), 0u);  // a state that does not fit in four bytes reads as 0
#if !defined(_WIN32)  // the platform ID is the system's own on Windows
  orvx::host::SetPlatformId(1);  // where interface 3 of kind 0x0100 is allowed
  Probe cached1, direct1(0);
  EXPECT_EQ(cached1.IsSupportedModel("LP-2200", 3) + direct1.IsSupportedModel("LP-2200", 3), 2);
#endif
}

TEST_F(SupportedModels, MissingKeysAndLoadResult) {
  const ValueList one = {DwordValue("LP-1100", 0x01000100)};
  {
    Probe none;  // neither key exists
    EXPECT_EQ(none.CheckModel("LP-1100", 1), CSupportedModel::kNotSupported);
    Probe direct(0);
    EXPECT_EQ(direct.CheckModel("LP-1100", 1), CSupportedModel::kNotSupported);
  }
  Lists(path_, &one, nullptr);
  Probe onlySupported;
  EXPECT_EQ(onlySupported.CheckModel("LP-1100", 1), CSupportedModel::kSupported);
  onlySupported.Purge();
  EXPECT_EQ(onlySupported.LoadFromRegistory(), 0);  // the unsupported key is missing
  Lists(path_, &one, &one);
  onlySupported.Purge();
  EXPECT_EQ(onlySupported.LoadFromRegistory(), 1);
  const ValueList empty;
  Lists(path_, &one, &empty);
  onlySupported.Purge();
  EXPECT_EQ(onlySupported.LoadFromRegistory(), 0);  // present but empty
}

TEST_F(SupportedModels, ChangedPath) {
  const ValueList at = {DwordValue("LP-1100", 0x01000100)};
  Lists(elsewhere_, &at, nullptr);
  Probe cached, direct(0);
  EXPECT_EQ(cached.IsSupportedModel("LP-1100", 1), 0);
  cached.SetRegistoryPath(elsewhere_.c_str());  // the whole path, nothing prefixed
  direct.SetRegistoryPath(elsewhere_.c_str());
  EXPECT_EQ(cached.IsSupportedModel("LP-1100", 1), 1);
  EXPECT_EQ(direct.IsSupportedModel("LP-1100", 1), 1);
  cached.SetRegistoryPath("");
  cached.SetRegistoryPath(nullptr);
  EXPECT_EQ(cached.IsSupportedModel("LP-1100", 1), 1);

  // Cached mode does not see later changes until the path is set again.
  DeleteOwnedKeys();
  EXPECT_EQ(cached.IsSupportedModel("LP-1100", 1), 1);
  EXPECT_EQ(direct.IsSupportedModel("LP-1100", 1), 0);
  cached.SetRegistoryPath(elsewhere_.c_str());
  EXPECT_EQ(cached.IsSupportedModel("LP-1100", 1), 0);
}
