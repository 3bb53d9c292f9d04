// Picture IDs for a typical machine: four input trays, two output trays.
// The one picture call (trays built from the caller's list each time, the
// caller reused as a stream of requests does), with and without its trace,
// and the framework's name-list entry points.
#include <benchmark/benchmark.h>

#include <memory>
#include <string_view>
#include <vector>

#include "orvx/picture.h"
#include "orvx/prn_static_info.h"

namespace {

using Names = std::vector<const char*>;

struct Machine {
  Machine(int vendor, int group, const Names& inNames, const Names& outNames, const Names& options = {},
          const Names& docOptions = {}) {
    record.SetVenderID(static_cast<WORD>(vendor));
    record.SetModelGroupID(static_cast<WORD>(group));
    for (const char* n : inNames) in.push_back({n}), inList.AddTail(n);
    for (const char* n : outNames) out.push_back({n}), outList.AddTail(n);
    for (const char* n : options) optionViews.push_back(n), optionList.AddTail(n);
    for (const char* n : docOptions) docViews.push_back(n), docList.AddTail(n);
  }
  orvx::PictureCall Call(bool extended) const { return {extended, in, out, 1, 0, optionViews, docViews, {}, {}}; }

  CPrnStaticInfo record;
  std::vector<orvx::PictureTray> in, out;
  std::vector<std::string_view> optionViews, docViews;
  CStringList inList, outList, optionList, docList;
};

std::unique_ptr<Machine> Printer() {  // vendor 1, group 12: GetOptionFlag_Dipper
  return std::make_unique<Machine>(1, 12, Names{"Multi Purpose Tray", "Cassette 1", "Optional Cassette 2", "Optional Cassette 3"},
                                   Names{"Face Down Tray", "Face Up Tray"});
}
std::unique_ptr<Machine> Copier() {  // vendor 2, group 6: GetOptionFlag_Redshank
  return std::make_unique<Machine>(2, 6, Names{"Bypass Tray", "Tray 1", "Tray 2", "Tray 3"}, Names{"Finisher", "Face Down"});
}
std::unique_ptr<Machine> Nightjar() {
  return std::make_unique<Machine>(1, 0, Names{"Multi Purpose Tray", "Cassette 1", "Optional Cassette 2", "Optional Cassette 3"},
                                   Names{"Face Down Tray", "Face Up Tray"}, Names{"HH-418"});
}
std::unique_ptr<Machine> Kestrel() {
  return std::make_unique<Machine>(1, 20, Names{"Bypass Tray", "Cassette 1", "Cassette 2", "Cassette 3"},
                                   Names{"Face Down Tray", "Finisher Tray"}, Names{"FU-404"}, Names{"NMFR-9"});
}
std::unique_ptr<Machine> Plover() {
  return std::make_unique<Machine>(2, 16, Names{"Bypass Tray", "Cassette 1", "Cassette 2", "Cassette 3"},
                                   Names{"Top Tray", "Finisher Tray A"}, Names{"GX-268", "GX-268", "HI-331"}, Names{"NMFR-8"});
}

enum class Form { Call, CallExplain, Names };

void Picture(benchmark::State& state, std::unique_ptr<Machine> (*make)(), bool extended, Form form) {
  auto owned = make();
  Machine& m = *owned;
  orvx::PictureCaller caller;
  orvx::PictureTrace trace;
  const orvx::PictureCall call = m.Call(extended);
  for (auto _ : state) {
    switch (form) {
      case Form::Call: benchmark::DoNotOptimize(caller.Call(m.record, call)); break;
      case Form::CallExplain: benchmark::DoNotOptimize(caller.Call(m.record, call, &trace)); break;
      case Form::Names:
        benchmark::DoNotOptimize(extended ? m.record.GetPictureIDEx(m.inList, m.outList, m.optionList, m.docList)
                                          : m.record.GetPictureID(m.inList, m.outList, 1, 0));
        break;
    }
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(Picture, ClassicPrinterDipper_call, Printer, false, Form::Call);
BENCHMARK_CAPTURE(Picture, ClassicPrinterDipper_names, Printer, false, Form::Names);
BENCHMARK_CAPTURE(Picture, ClassicCopierRedshank_call, Copier, false, Form::Call);
BENCHMARK_CAPTURE(Picture, ClassicCopierRedshank_names, Copier, false, Form::Names);
BENCHMARK_CAPTURE(Picture, Nightjar_call, Nightjar, true, Form::Call);
BENCHMARK_CAPTURE(Picture, Nightjar_call_explain, Nightjar, true, Form::CallExplain);
BENCHMARK_CAPTURE(Picture, Nightjar_names, Nightjar, true, Form::Names);
BENCHMARK_CAPTURE(Picture, Kestrel_call, Kestrel, true, Form::Call);
BENCHMARK_CAPTURE(Picture, Plover_call, Plover, true, Form::Call);

}  // namespace

BENCHMARK_MAIN();
