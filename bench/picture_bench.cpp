// Picture IDs for a typical machine: four input trays, two output trays.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "orvx/prn_static_info.h"

namespace {

using Names = std::vector<const char*>;

struct Machine {
  Machine(int vendor, int group, std::vector<const char*> inNames, std::vector<const char*> outNames) {
    record.SetVenderID(static_cast<WORD>(vendor));
    record.SetModelGroupID(static_cast<WORD>(group));
    for (const char* n : inNames) {
      ins.push_back(std::make_unique<COptInTray>());
      ins.back()->SetName(n);
      in.Add(ins.back().get());
      inList.AddTail(n);
    }
    for (const char* n : outNames) {
      outs.push_back(std::make_unique<COptOutTray>());
      outs.back()->SetName(n);
      out.Add(outs.back().get());
      outList.AddTail(n);
    }
  }
  CPrnStaticInfo record;
  std::vector<std::unique_ptr<COptInTray>> ins;
  std::vector<std::unique_ptr<COptOutTray>> outs;
  CPtrArray in, out;
  CStringList inList, outList, options, docOptions;
};

std::unique_ptr<Machine> Printer() {  // vendor 1, group 12: GetOptionFlag_Dipper
  return std::make_unique<Machine>(1, 12, Names{"Multi Purpose Tray", "Cassette 1", "Optional Cassette 2", "Optional Cassette 3"},
                 Names{"Face Down Tray", "Face Up Tray"});
}
std::unique_ptr<Machine> Copier() {  // vendor 2, group 6: GetOptionFlag_Redshank
  return std::make_unique<Machine>(2, 6, Names{"Bypass Tray", "Tray 1", "Tray 2", "Tray 3"}, Names{"Finisher", "Face Down"});
}

void Classic(benchmark::State& state, std::unique_ptr<Machine> (*make)(), bool names) {
  auto owned = make();
  Machine& m = *owned;
  for (auto _ : state) {
    benchmark::DoNotOptimize(names ? m.record.GetPictureID(m.inList, m.outList, 1, 0)
                                   : m.record.GetPictureID(m.in, m.out, 1, 0));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(Classic, PrinterDipper_trays, Printer, false);
BENCHMARK_CAPTURE(Classic, PrinterDipper_names, Printer, true);
BENCHMARK_CAPTURE(Classic, CopierRedshank_trays, Copier, false);
BENCHMARK_CAPTURE(Classic, CopierRedshank_names, Copier, true);

std::unique_ptr<Machine> Nightjar() {
  auto m = std::make_unique<Machine>(1, 0, Names{"Multi Purpose Tray", "Cassette 1", "Optional Cassette 2", "Optional Cassette 3"},
            Names{"Face Down Tray", "Face Up Tray"});
  m->options.AddTail("HH-418");
  return m;
}
std::unique_ptr<Machine> Kestrel() {
  auto m = std::make_unique<Machine>(1, 20, Names{"Bypass Tray", "Cassette 1", "Cassette 2", "Cassette 3"}, Names{"Face Down Tray", "Finisher Tray"});
  m->options.AddTail("FU-404");
  m->docOptions.AddTail("NMFR-9");
  return m;
}
std::unique_ptr<Machine> Plover() {
  auto m = std::make_unique<Machine>(2, 16, Names{"Bypass Tray", "Cassette 1", "Cassette 2", "Cassette 3"}, Names{"Top Tray", "Finisher Tray A"});
  m->options.AddTail("GX-268");
  m->options.AddTail("GX-268");
  m->options.AddTail("HI-331");
  m->docOptions.AddTail("NMFR-8");
  return m;
}

void Extended(benchmark::State& state, std::unique_ptr<Machine> (*make)(), bool names) {
  auto owned = make();
  Machine& m = *owned;
  for (auto _ : state) {
    benchmark::DoNotOptimize(names ? m.record.GetPictureIDEx(m.inList, m.outList, m.options, m.docOptions)
                                   : m.record.GetPictureIDEx(m.in, m.out, m.options, m.docOptions));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(Extended, Nightjar_trays, Nightjar, false);
BENCHMARK_CAPTURE(Extended, Nightjar_names, Nightjar, true);
BENCHMARK_CAPTURE(Extended, Kestrel_trays, Kestrel, false);
BENCHMARK_CAPTURE(Extended, Plover_trays, Plover, false);

}  // namespace

BENCHMARK_MAIN();
