// Database load and model lookup.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "orvx/model_db.h"

namespace {

std::string MakeName(int i) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "LP-%06d", i);
  return buf;
}

// Writes a database of `count` records with short names and no size lists.
std::filesystem::path MakeDatabase(int count) {
  const auto path = std::filesystem::temp_directory_path() / ("orvx-bench-" + std::to_string(count) + ".dat");
  CMemFile mem;
  {
    CArchive ar(&mem, CArchive::store);
    ar << static_cast<DWORD>(count);
    CPrnStaticInfo r;
    for (int i = 0; i < count; ++i) {
      r.SetModelName(MakeName(i));
      r.SetModelGroupID(static_cast<WORD>(i));
      r.Serialize(ar);
    }
    ar.Close();
  }
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(mem.Bytes().data()), static_cast<std::streamsize>(mem.Bytes().size()));
  return path;
}

void LoadFile(const std::filesystem::path& path) {
  CFile file;
  file.Open(path.c_str(), CFile::modeRead | CFile::typeBinary);
  BYTE buffer[1024];  // the attach buffer
  CArchive ar(&file, CArchive::load, sizeof buffer, buffer);
  CPrnStaticInfoArray_Serialize(ar);
}

long ResidentBytes() {
  long pages = 0, resident = 0;
  if (FILE* f = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(f);
  }
  return resident * 4096;
}

void BM_Load100k(benchmark::State& state) {
  constexpr int kCount = 100000;
  const auto path = MakeDatabase(kCount);
  double heapPerRecord = 0, rssPerRecord = 0;
  for (auto _ : state) {
    CPrnStaticInfoArray_RemoveAll();
    // Cold: the heap goes back to the system first, so the load pays for
    // fresh pages as an attach in a new process does.
    if (state.range(0)) malloc_trim(0);
    const auto heapBefore = mallinfo2().uordblks;
    const long rssBefore = ResidentBytes();
    LoadFile(path);
    heapPerRecord = double(mallinfo2().uordblks - heapBefore) / kCount;
    rssPerRecord = double(ResidentBytes() - rssBefore) / kCount;
    state.PauseTiming();
    CPrnStaticInfoArray_RemoveAll();
    state.ResumeTiming();
  }
  state.counters["records/s"] = benchmark::Counter(double(kCount) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["heap_B/record"] = heapPerRecord;
  state.counters["rss_B/record"] = rssPerRecord;
  std::filesystem::remove(path);
}
BENCHMARK(BM_Load100k)->ArgName("cold")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// Lookups over 10,000 records; the last record is "HP Model X".
class Lookup : public benchmark::Fixture {
 public:
  void SetUp(const benchmark::State&) override {
    CPrnStaticInfoArray_RemoveAll();
    for (int i = 0; i < 10000; ++i) {
      auto* r = new CPrnStaticInfo;
      r->SetModelName(i == 9999 ? std::string("HP Model X") : MakeName(i));
      CPrnStaticInfoArray.Add(r);
    }
  }
  void TearDown(const benchmark::State&) override { CPrnStaticInfoArray_RemoveAll(); }
};

BENCHMARK_F(Lookup, FirstRecordHit)(benchmark::State& state) {
  const std::string key = MakeName(0);
  for (auto _ : state) benchmark::DoNotOptimize(GetPointerToCPrnStaticInfo(key.c_str()));
}
BENCHMARK_F(Lookup, LastRecordHit)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(GetPointerToCPrnStaticInfo("HP Model X"));
}
BENCHMARK_F(Lookup, HpNormalisedSubstringHit)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(GetPointerToCPrnStaticInfo("hp Model X PCL6"));
}
BENCHMARK_F(Lookup, Miss)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(GetPointerToCPrnStaticInfo("Selby DC-2000 unknown"));
}

}  // namespace

BENCHMARK_MAIN();
