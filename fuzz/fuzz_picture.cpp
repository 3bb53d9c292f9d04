// The one picture call with arbitrary records, trays and unit lists, both
// entries: the framework's name-list form must agree with it on default
// trays, and its trace must credit every bit.
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/afx_host.h"
#include "orvx/picture.h"
#include "orvx/prn_static_info.h"

namespace {

// Words the rules test for, so that inputs reach the rows quickly.
constexpr std::array<const char*, 48> kWords = {
    "Multi", "MP T", "Bypass", "Bypa", "Cassette 1", "Cassette", "Casse", "Cass", "GX-3", "GX-1", "GX-4", "GX-0",
    "GX-89", "GX-59", "GX-216", "GX-235", "NN-841", "GX-268", "GX-261", "GX-266", "Feed", "Tray", "Draw", "Large",
    "3000 S", "Inte", "Defa", "Manu", "BC", "Enve", "Face U", "Face D", "Face-u", "Face-d", "Top Tr", "Left T",
    "HI-372", "HI-331", "RJ-7", "Multi F", "Sub T", "NN-93", "IL-2", "IL-4", "HH-418", "NMFR-8", "HG-", "Optional "};

std::string Name(FuzzedDataProvider& fdp) {
  std::string name;
  if (fdp.ConsumeBool()) name = kWords[fdp.ConsumeIntegralInRange<std::size_t>(0, kWords.size() - 1)];
  if (fdp.ConsumeBool() && !name.empty() && name.back() != ' ' && fdp.ConsumeBool())
    name = std::string("Optional ") + name;
  return name + fdp.ConsumeRandomLengthString(12);
}

CStringList List(FuzzedDataProvider& fdp, int most) {
  CStringList l;
  const int n = fdp.ConsumeIntegralInRange(0, most);
  for (int i = 0; i < n; ++i) l.AddTail(Name(fdp));
  return l;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider fdp(data, size);
  CPrnStaticInfo record;
  record.SetVenderID(fdp.ConsumeBool() ? fdp.ConsumeIntegralInRange<WORD>(0, 3) : fdp.ConsumeIntegral<WORD>());
  record.SetModelGroupID(fdp.ConsumeBool() ? fdp.ConsumeIntegralInRange<WORD>(0, 40) : fdp.ConsumeIntegral<WORD>());
  if (fdp.ConsumeBool()) record.SetModelName(fdp.ConsumeBool() ? "WR-4697(J)" : fdp.ConsumeRandomLengthString(16));
  // The host strings travel with the call, and the framework's entry points
  // read the same ones from the process-wide table.
  std::optional<std::string> manual, dflt;
  if (fdp.ConsumeBool()) manual = fdp.ConsumeRandomLengthString(8);
  if (fdp.ConsumeBool()) dflt = fdp.ConsumeRandomLengthString(8);
  manual ? orvx::host::SetStringResource(9481, *manual) : orvx::host::RemoveStringResource(9481);
  dflt ? orvx::host::SetStringResource(9482, *dflt) : orvx::host::RemoveStringResource(9482);

  CStringList inNames = List(fdp, 8), outNames = List(fdp, 7), options = List(fdp, 5), docOptions = List(fdp, 3);
  const int duplexUnit = fdp.ConsumeIntegral<int>();
  const int outputUnit = fdp.ConsumeIntegralInRange(-1, 3);
  std::vector<orvx::PictureTray> in, out;
  for (const CString& n : inNames) in.push_back({n.view()});
  for (const CString& n : outNames) out.push_back({n.view()});
  std::vector<std::string_view> optionViews, docViews;
  for (const CString& n : options) optionViews.push_back(n.view());
  for (const CString& n : docOptions) docViews.push_back(n.view());

  orvx::PictureCaller caller;
  orvx::PictureTrace trace;
  for (const bool extended : {false, true}) {
    orvx::PictureCall call{extended, in, out, duplexUnit, outputUnit, optionViews, docViews, {}, {}};
    if (manual) call.manualTrayName = *manual;
    if (dflt) call.defaultTrayName = *dflt;
    // Default trays: the one call and the framework's name-list form agree,
    // and the trace credits every bit of the answer.
    const DWORD byCall = caller.Call(record, call, &trace);
    const DWORD byNames = extended ? record.GetPictureIDEx(inNames, outNames, options, docOptions)
                                   : record.GetPictureID(inNames, outNames, duplexUnit, outputUnit);
    DWORD credited = 0;
    for (const auto& step : trace.steps) credited |= step.added;
    if (byCall != byNames || credited != byCall) abort();

    // Trays with arbitrary fields, for the rules that read them.
    for (auto& t : in) t.addUnit = fdp.ConsumeIntegral<int>(), t.id = fdp.ConsumeIntegral<int>();
    for (auto& t : out) t.addUnit = fdp.ConsumeIntegral<int>(), t.delivery = fdp.ConsumeIntegral<int>();
    credited = 0;
    const DWORD byFields = caller.Call(record, call, &trace);
    for (const auto& step : trace.steps) credited |= step.added;
    if (credited != byFields) abort();
  }
  return 0;
}
