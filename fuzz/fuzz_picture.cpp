// The picture entry points with arbitrary records, trays and unit lists:
// both entries, both forms; the name-list form must agree with the
// tray-record form on default trays.
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <vector>

#include "orvx/afx_host.h"
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
  if (fdp.ConsumeBool()) orvx::host::SetStringResource(9481, fdp.ConsumeRandomLengthString(8));
  else orvx::host::RemoveStringResource(9481);
  if (fdp.ConsumeBool()) orvx::host::SetStringResource(9482, fdp.ConsumeRandomLengthString(8));
  else orvx::host::RemoveStringResource(9482);

  CStringList inNames = List(fdp, 8), outNames = List(fdp, 7), options = List(fdp, 5), docOptions = List(fdp, 3);
  const int duplexUnit = fdp.ConsumeIntegral<int>();
  const int outputUnit = fdp.ConsumeIntegralInRange(-1, 3);

  for (const bool extended : {false, true}) {
    // Default trays with the same names: both forms must agree.
    std::vector<std::unique_ptr<COptInTray>> ins;
    std::vector<std::unique_ptr<COptOutTray>> outs;
    CPtrArray in, out;
    for (const CString& n : inNames) in.Add(ins.emplace_back(std::make_unique<COptInTray>()).get()), ins.back()->SetName(n);
    for (const CString& n : outNames) out.Add(outs.emplace_back(std::make_unique<COptOutTray>()).get()), outs.back()->SetName(n);
    const DWORD byTrays = extended ? record.GetPictureIDEx(in, out, options, docOptions)
                                   : record.GetPictureID(in, out, duplexUnit, outputUnit);
    const DWORD byNames = extended ? record.GetPictureIDEx(inNames, outNames, options, docOptions)
                                   : record.GetPictureID(inNames, outNames, duplexUnit, outputUnit);
    if (byTrays != byNames) abort();

    // Trays with arbitrary fields, for the rules that read them.
    for (auto& t : ins) {
      t->SetAddUnit(fdp.ConsumeIntegral<int>());
      t->SetID(fdp.ConsumeIntegral<int>());
    }
    for (auto& t : outs) {
      t->SetAddUnit(fdp.ConsumeIntegral<int>());
      t->SetDerivery(fdp.ConsumeIntegral<int>());
    }
    extended ? record.GetPictureIDEx(in, out, options, docOptions) : record.GetPictureID(in, out, duplexUnit, outputUnit);
  }
  return 0;
}
