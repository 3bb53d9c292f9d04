// Database load and model lookup.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "orvx/database.h"
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

// Warm: loads into a heap that earlier loads have already grown.
void BM_Load100kWarm(benchmark::State& state) {
  constexpr int kCount = 100000;
  const auto path = MakeDatabase(kCount);
  double heapPerRecord = 0;
  for (auto _ : state) {
    const auto heapBefore = mallinfo2().uordblks;
    LoadFile(path);
    heapPerRecord = double(mallinfo2().uordblks - heapBefore) / kCount;
    state.PauseTiming();
    CPrnStaticInfoArray_RemoveAll();
    state.ResumeTiming();
  }
  state.counters["records/s"] = benchmark::Counter(double(kCount) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["heap_B/record"] = heapPerRecord;
  std::filesystem::remove(path);
}
BENCHMARK(BM_Load100kWarm)->Unit(benchmark::kMillisecond);

// Cold: each load runs in a fresh child process, as the attach of a host
// that has just started; the child reports its own load time and memory.
// Argument 1 says which reader: 0 the attach's (the model array through a
// 1 KiB archive buffer), 1 ModelDatabase::LoadFile.
void BM_LoadCold(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const auto path = MakeDatabase(count);
  double rssPerRecord = 0, peakMB = 0;
  for (auto _ : state) {
    int fds[2];
    if (pipe(fds) != 0) state.SkipWithError("pipe");
    const pid_t pid = fork();
    if (pid == 0) {
      const long rssBefore = ResidentBytes();
      const auto start = std::chrono::steady_clock::now();
      orvx::ModelDatabase db;
      if (state.range(1) == 0) LoadFile(path);
      else if (db.LoadFile(path.string()).Failed()) _exit(1);
      const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      rusage usage{};
      getrusage(RUSAGE_SELF, &usage);
      const double result[3] = {seconds, double(ResidentBytes() - rssBefore) / count, usage.ru_maxrss / 1024.0};
      if (write(fds[1], result, sizeof result) != sizeof result) _exit(1);
      _exit(0);
    }
    double result[3] = {0, 0, 0};
    if (read(fds[0], result, sizeof result) != sizeof result) state.SkipWithError("child");
    waitpid(pid, nullptr, 0);
    close(fds[0]);
    close(fds[1]);
    state.SetIterationTime(result[0]);
    rssPerRecord = result[1];
    peakMB = result[2];
  }
  state.counters["records/s"] = benchmark::Counter(double(count) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["rss_B/record"] = rssPerRecord;
  state.counters["peak_MB"] = peakMB;
  state.counters["file_MB"] = double(std::filesystem::file_size(path)) / (1 << 20);
  std::filesystem::remove(path);
}
BENCHMARK(BM_LoadCold)->Args({100000, 0})->Args({300000, 0})->Args({300000, 1})->UseManualTime()->Unit(benchmark::kMillisecond);

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

// Misses and hits at 1,000 and 100,000 models, through an owned database and
// the model array: the indexed lookup's time follows the query, not the count.
class Scale : public benchmark::Fixture {
 public:
  void SetUp(const benchmark::State& state) override {
    CPrnStaticInfoArray_RemoveAll();
    db = orvx::ModelDatabase();
    for (int i = 0; i < state.range(0); ++i) {
      auto r = std::make_unique<CPrnStaticInfo>();
      r->SetModelName("Vantor " + MakeName(i));
      db.Add(std::move(r));
      auto* g = new CPrnStaticInfo;
      g->SetModelName("Vantor " + MakeName(i));
      CPrnStaticInfoArray.Add(g);
    }
    last = "Vantor " + MakeName(static_cast<int>(state.range(0)) - 1);
    db.Lookup("");  // the index is made by the first lookup
    GetPointerToCPrnStaticInfo("");
  }
  void TearDown(const benchmark::State&) override { CPrnStaticInfoArray_RemoveAll(); }
  orvx::ModelDatabase db;
  std::string last;
};

BENCHMARK_DEFINE_F(Scale, DatabaseMiss)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(db.Lookup("Selby DC-2000 unknown"));
}
BENCHMARK_DEFINE_F(Scale, DatabaseHitLastExact)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(db.Lookup(last));
}
BENCHMARK_DEFINE_F(Scale, DatabaseHitLastSubstring)(benchmark::State& state) {
  const std::string key = last + " PCL6";
  for (auto _ : state) benchmark::DoNotOptimize(db.Lookup(key));
}
BENCHMARK_DEFINE_F(Scale, ArrayMiss)(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(GetPointerToCPrnStaticInfo("Selby DC-2000 unknown"));
}
BENCHMARK_DEFINE_F(Scale, ArrayHitLastSubstring)(benchmark::State& state) {
  const std::string key = last + " PCL6";
  for (auto _ : state) benchmark::DoNotOptimize(GetPointerToCPrnStaticInfo(key.c_str()));
}
// A host renames a record of another, small database between lookups: the
// large database keeps its index.
BENCHMARK_DEFINE_F(Scale, DatabaseMissAfterRenameElsewhere)(benchmark::State& state) {
  orvx::ModelDatabase small;
  for (const char* name : {"Alpha", "Beta", "Gamma"}) {
    auto r = std::make_unique<CPrnStaticInfo>();
    r->SetModelName(name);
    small.Add(std::move(r));
  }
  small.Lookup("");
  bool flip = false;
  for (auto _ : state) {
    small[1].SetModelName((flip = !flip) ? "Delta" : "Beta");
    benchmark::DoNotOptimize(db.Lookup("Selby DC-2000 unknown"));
  }
}
BENCHMARK_REGISTER_F(Scale, DatabaseMissAfterRenameElsewhere)->Arg(100000);
BENCHMARK_REGISTER_F(Scale, DatabaseMiss)->Arg(1000)->Arg(100000);
BENCHMARK_REGISTER_F(Scale, DatabaseHitLastExact)->Arg(1000)->Arg(100000);
BENCHMARK_REGISTER_F(Scale, DatabaseHitLastSubstring)->Arg(1000)->Arg(100000);
BENCHMARK_REGISTER_F(Scale, ArrayMiss)->Arg(1000)->Arg(100000);
BENCHMARK_REGISTER_F(Scale, ArrayHitLastSubstring)->Arg(1000)->Arg(100000);

// The first lookup after a load of 100,000 models, which makes the index.
void BM_FirstLookup100k(benchmark::State& state) {
  const auto path = MakeDatabase(100000);
  for (auto _ : state) {
    state.PauseTiming();
    orvx::ModelDatabase db;
    if (const orvx::Status error = db.LoadFile(path.string()); error.Failed()) state.SkipWithError(error.message.c_str());
    state.ResumeTiming();
    benchmark::DoNotOptimize(db.Lookup("Selby DC-2000 unknown"));
  }
  std::filesystem::remove(path);
}
BENCHMARK(BM_FirstLookup100k)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
