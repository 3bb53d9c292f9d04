// Several processes writing one store, and writers killed mid-write.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "orvx/afx_host.h"
#include "orvx/comm_config.h"
#include "orvx/registry_check.h"
#include "registry_fixture.h"


namespace {

// A configuration whose every byte after dwSize derives from `round`, so a
// torn or mixed value is recognisable.
std::vector<BYTE> Pattern(DWORD round, BYTE port) {
  std::vector<BYTE> b(120);
  const DWORD size = static_cast<DWORD>(b.size());
  std::memcpy(b.data(), &size, 4);
  std::memcpy(b.data() + 4, &round, 4);
  for (std::size_t i = 8; i < b.size(); ++i) b[i] = static_cast<BYTE>(round * 31 + port * 7 + i);
  return b;
}

// The round a loaded configuration was written in, or -1 when it is no whole pattern.
int RoundOf(const std::vector<BYTE>& b, BYTE port, int maxRound) {
  DWORD round = 0;
  std::memcpy(&round, b.data() + 4, 4);
  if (round > static_cast<DWORD>(maxRound)) return -1;
  return std::equal(b.begin(), b.begin() + 120, Pattern(round, port).begin()) ? static_cast<int>(round) : -1;
}

class Reliability : public orvx_test::HostAppFixture {};

}  // namespace

TEST_F(Reliability, ConcurrentWritersLoseNothing) {
  constexpr int kWriters = 4;
  constexpr int kRounds = 15;
  std::vector<pid_t> children;
  for (int w = 0; w < kWriters; ++w) {
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      int failures = 0;
      for (int r = 0; r < kRounds; ++r) {
        auto cfg = Pattern(static_cast<DWORD>(r), static_cast<BYTE>(w));
        failures += ORVX_SaveCommCfg(static_cast<DWORD>(w) << 4, reinterpret_cast<COMMCONFIG*>(cfg.data())) != 1;
      }
      _exit(failures == 0 ? 0 : 1);
    }
    children.push_back(pid);
  }
  for (const pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  for (int w = 0; w < kWriters; ++w) {
    std::vector<BYTE> loaded(256);
    ASSERT_EQ(ORVX_LoadCommCfg(static_cast<DWORD>(w) << 4, reinterpret_cast<COMMCONFIG*>(loaded.data())), 1) << w;
    EXPECT_EQ(RoundOf(loaded, static_cast<BYTE>(w), kRounds), kRounds - 1) << w;
  }
}

TEST_F(Reliability, AWriterKilledAtAnyMomentLeavesOldOrNew) {
  auto first = Pattern(0, 1);
  ASSERT_EQ(ORVX_SaveCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(first.data())), 1);
  std::mt19937 rng(12345);
  constexpr int kMaxRound = 100000;
  int lastSeen = 0;
  for (int attempt = 0; attempt < 20; ++attempt) {
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      // Keep writing rounds after the last one seen until killed.
      for (int r = lastSeen + 1; r < kMaxRound; ++r) {
        auto cfg = Pattern(static_cast<DWORD>(r), 1);
        ORVX_SaveCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(cfg.data()));
      }
      _exit(0);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(std::uniform_int_distribution<int>(200, 20000)(rng)));
    kill(pid, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);

    const orvx::Status e = orvx::registry::CheckFile(user_);
    ASSERT_FALSE(e.Failed()) << e.message << " at line " << e.where;
    std::vector<BYTE> loaded(256);
    ASSERT_EQ(ORVX_LoadCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(loaded.data())), 1);
    const int round = RoundOf(loaded, 1, kMaxRound);
    ASSERT_GE(round, lastSeen) << "the value went back or is torn";
    lastSeen = round;
  }

  // The next writer removes what the killed ones left beside the store, and
  // leaves a live writer's file alone.
  const std::filesystem::path store(user_);
  const auto others = [&] {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(store.parent_path())) {
      const std::string n = e.path().filename().string();
      if (n.rfind("." + store.filename().string() + ".tmp-", 0) == 0) names.push_back(n);
    }
    return names;
  };
  const pid_t dead = fork();
  if (dead == 0) _exit(0);
  ASSERT_EQ(waitpid(dead, nullptr, 0), dead);
  const std::string deadTemp = "." + store.filename().string() + ".tmp-" + std::to_string(dead) + "-0000dead";
  const std::string liveTemp = "." + store.filename().string() + ".tmp-" + std::to_string(getppid()) + "-00000a1e";
  std::ofstream(store.parent_path() / deadTemp) << "torn";
  std::ofstream(store.parent_path() / liveTemp) << "in progress";
  auto last = Pattern(static_cast<DWORD>(lastSeen + 1), 1);
  ASSERT_EQ(ORVX_SaveCommCfg(0x10, reinterpret_cast<COMMCONFIG*>(last.data())), 1);
  EXPECT_EQ(others(), std::vector<std::string>{liveTemp});
}
