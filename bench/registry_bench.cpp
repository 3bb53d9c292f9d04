// The registry calls a host makes most: a direct-mode model check (an open
// and a read per list, a miss in the unsupported one) and a COM
// configuration load, found and missing. A miss now also says why.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "orvx/afx_host.h"
#include "orvx/comm_config.h"
#include "orvx/supported_model.h"

namespace {

struct Store {
  Store() {
    std::ofstream(dir / "hklm.reg") << "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\orvx\\Supported Models]\n"
                                       "\"LP-1\"=dword:01000100\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\orvx\\"
                                       "Unsupported Models]\n\"LP-9\"=dword:0\n";
    std::ofstream(dir / "hkcu.reg") << "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\orvx\\Com]\n\"COM1\"=hex:08,00,00,00,"
                                       "01,02,03,04\n";
    orvx::host::SetRegistryFile(HKEY_LOCAL_MACHINE, (dir / "hklm.reg").string());
    orvx::host::SetRegistryFile(HKEY_CURRENT_USER, (dir / "hkcu.reg").string());
    orvx::host::SetAppName("orvx");
    orvx::host::SetRegistryKey("");
  }
  ~Store() { std::filesystem::remove_all(dir); }
  std::filesystem::path dir = [] {
    auto d = std::filesystem::temp_directory_path() / ("orvx-registry-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(d);
    return d;
  }();
};

void CheckModelDirect(benchmark::State& state, const char* model, LONG answer) {
  Store store;
  CSupportedModel lists(0);
  if (lists.CheckModel(model, 1) != answer) state.SkipWithError("not the expected answer");
  for (auto _ : state) benchmark::DoNotOptimize(lists.CheckModel(model, 1));
}
BENCHMARK_CAPTURE(CheckModelDirect, supported, "LP-1", CSupportedModel::kSupported);
BENCHMARK_CAPTURE(CheckModelDirect, unknown, "LP-5", CSupportedModel::kNotSupported);

void LoadCommCfg(benchmark::State& state, DWORD port, int answer) {
  Store store;
  std::vector<BYTE> buffer(256);
  if (ORVX_LoadCommCfg(port, reinterpret_cast<COMMCONFIG*>(buffer.data())) != answer) state.SkipWithError("not the expected answer");
  for (auto _ : state) benchmark::DoNotOptimize(ORVX_LoadCommCfg(port, reinterpret_cast<COMMCONFIG*>(buffer.data())));
}
BENCHMARK_CAPTURE(LoadCommCfg, stored, DWORD{0x10}, 1);
BENCHMARK_CAPTURE(LoadCommCfg, missing, DWORD{0x20}, 0);

}  // namespace

BENCHMARK_MAIN();
