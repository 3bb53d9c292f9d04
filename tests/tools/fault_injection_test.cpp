// Each system call on the write path of the registry store and of `orvdb
// build -o` fails in turn (through a preloaded library): the call reports
// failure, the old file stays byte for byte, and no temporary file is left.
#include <gtest/gtest.h>

#include <fstream>

#include "run_orvdb.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> Leftovers(const fs::path& dir) {
  std::vector<std::string> out;
  for (const auto& e : fs::directory_iterator(dir))
    if (e.path().filename().string().find(".tmp-") != std::string::npos) out.push_back(e.path().filename().string());
  return out;
}

std::string Env(const std::string& fault) {
  return "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD='" + std::string(ORVX_FAULT_INJECT) + "' ORVX_FAULT=" + fault +
         " ";
}

}  // namespace

TEST(FaultInjection, TheStoreKeepsItsOldBytes) {
  orvx_test::TempDir tmp;
  const fs::path store = tmp.path() / "hkcu.reg";
  const std::string env = "ORVX_HKCU_FILE='" + store.string() + "' ";
  std::ofstream(tmp.path() / "old.hex") << "08000000aabbccdd";
  std::ofstream(tmp.path() / "new.hex") << "0800000011223344";
  ASSERT_EQ(orvx_test::RunOrvdb("comcfg save --hex --port 0x30 < '" + (tmp.path() / "old.hex").string() + "'", nullptr, env).code, 0);
  const std::string old = orvx_test::ReadAll(store);
  ASSERT_FALSE(old.empty());

  for (const char* fault : {"open", "lock", "write:5", "short", "write:28", "fsync:5", "rename:18", "dirsync:5"}) {
    SCOPED_TRACE(fault);
    std::string err;
    const auto r = orvx_test::RunOrvdb("comcfg save --hex --port 0x30 < '" + (tmp.path() / "new.hex").string() + "'",
                                       &err, Env(fault) + env);
    EXPECT_EQ(r.code, 2) << err;
    EXPECT_EQ(orvx_test::ReadAll(store), old);
    EXPECT_EQ(Leftovers(tmp.path()), std::vector<std::string>{});
  }
  // With nothing failing the same call goes through.
  EXPECT_EQ(orvx_test::RunOrvdb("comcfg save --hex --port 0x30 < '" + (tmp.path() / "new.hex").string() + "'", nullptr,
                                Env("none") + env)
                .code,
            0);
  EXPECT_NE(orvx_test::ReadAll(store), old);
}

TEST(FaultInjection, BuildKeepsTheOldDatabase) {
  orvx_test::TempDir tmp;
  const fs::path out = tmp.path() / "ORVDB.dat";
  const std::string old = "the old database";
  std::ofstream(out) << old;
  for (const char* fault : {"open", "write:5", "short", "write:28", "fsync:5", "rename:18", "dirsync:5"}) {
    SCOPED_TRACE(fault);
    std::string err;
    const auto r = orvx_test::RunOrvdb("build '" + std::string(ORVX_SAMPLE_JSON) + "' -o '" + out.string() + "'", &err,
                                       Env(fault));
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(err.find(out.string()), std::string::npos) << err;
    EXPECT_EQ(orvx_test::ReadAll(out), old);
    EXPECT_EQ(Leftovers(tmp.path()), std::vector<std::string>{});
  }
}
