// Extended option rules that count units: a feeder-configuration table
// (Plover), cassettes numbered by position (Auklet, Gannet) and counted
// finisher trays.
#include <array>

#include "rules.h"
#include "shared_rows.h"

namespace orvx::picture {

// ---- Plover --------------------------------------------------------------------
// One feeder configuration: in-tray count, "GX-268" units, "GX-261" and
// "GX-266" present, the picture bits and the slots of the first six in-trays.
struct FeederConfig {
  std::int32_t inTrays;
  std::int32_t gx268;
  std::int32_t gx261;
  std::int32_t gx266;
  std::int32_t bits;
  std::array<std::int32_t, 6> slots;
};
constexpr FeederConfig kPloverFeeders[] = {
    {2, 0, 0, 0, 0x1001, {31, 21, 0, 0, 0, 0}},
    {3, 1, 0, 0, 0x1003, {31, 21, 22, 0, 0, 0}},
    {4, 2, 0, 0, 0x1007, {31, 21, 22, 23, 0, 0}},
    {2, 1, 0, 0, 0x11002, {31, 21, 0, 0, 0, 0}},
    {3, 2, 0, 0, 0x11006, {31, 21, 22, 0, 0, 0}},
    {5, 0, 1, 0, 0x1039, {31, 21, 33, 34, 35, 0}},
    {6, 1, 1, 0, 0x100103B, {31, 21, 22, 33, 34, 35}},
    {4, 0, 1, 0, 0x11038, {31, 33, 34, 35, 0, 0}},
    {5, 1, 1, 0, 0x101103A, {31, 21, 33, 34, 35, 0}},
    {5, 0, 0, 1, 0x1341, {31, 21, 36, 37, 38, 0}},
    {6, 1, 0, 1, 0x1001343, {31, 21, 22, 36, 37, 38}},
    {4, 0, 0, 1, 0x11340, {31, 36, 37, 38, 0, 0}},
    {5, 1, 0, 1, 0x1011342, {31, 21, 36, 37, 38, 0}},
};

// Installed units that the rule counts, in test order.
enum PloverUnit { kGX268, kGX261, kGX266, kHI331, kHI372, kRJ7, kFU2, kPloverUnits };
constexpr std::array<Test, kPloverUnits> kPloverUnitTests = {
    Any(B("GX-268", 6)), Any(B("GX-261", 6)), Any(B("GX-266", 6)), Any(B("HI-331", 6)),
    Any(B("HI-372", 6)), Any(B("RJ-7", 4)),   Any(B("FU-2", 4)),
};

// Finisher and mailbox trays get their slots here; their bits come from the units.
constexpr OutRow kPloverOut[] = {
    {.test = Any(B("Top Tr", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("Left T", 6), B("GA-199", 6)), .bits = 0x80000, .id = 50},
    {.test = Any(B("HI-331", 6), B("HI-372", 6), B("Finisher Tray A", 15), B("Finisher Tray B", 15)), .id = 91},
    {.test = Any(B("RJ-7", 4), B("Finisher Tray 1", 15), B("Finisher Tray 2", 15), B("Finisher Tray 3", 15),
                 B("Finisher Tray 4", 15), B("Finisher Tray 5", 15)),
     .id = 92},
};

// The configuration is the first row that has this many in-trays and units;
// without one, no bits and the slots of row 1.
static DWORD PloverByFeeders(const CPrnStaticInfo& record, const Lists& lists) {
  std::array<int, kPloverUnits> units{};
  if (lists.options)
    for (const CString& name : *lists.options) {
      for (std::size_t u = 0; u < units.size(); ++u) {
        if (kPloverUnitTests[u].Matches(name.view())) {
          ++units[u];
          break;
        }
      }
    }
  bool docUnit = false;
  if (lists.docOptions)
    for (const CString& name : *lists.docOptions) docUnit = docUnit || name.view().starts_with("NMFR-8");

  Scan s{record};
  if (record.GetVenderID() == 2) s.result = 0x800 | (docUnit ? 0x4000000 : 0x2000000);

  const int c = lists.in.GetSize();
  const FeederConfig* chosen = &kPloverFeeders[0];
  for (const auto& row : kPloverFeeders) {
    if (row.inTrays == c && row.gx268 == units[kGX268] && row.gx261 == (units[kGX261] > 0) &&
        row.gx266 == (units[kGX266] > 0)) {
      s.result |= static_cast<DWORD>(row.bits);
      chosen = &row;
      break;
    }
  }
  if (c <= 6)
    for (int j = 0; j < c; ++j)
      static_cast<COptInTray*>(lists.in.GetAt(j))->SetID(chosen->slots[static_cast<std::size_t>(j)]);

  ScanOut(s, kPloverOut, lists.out);

  if (units[kHI331] || units[kHI372]) s.result |= 0x100000;
  if (units[kRJ7]) s.result |= 0x800000;
  if (units[kFU2]) s.result |= 0x400000;
  // The configurations' 0x1000000 needs a finisher unit.
  if (!(s.result & 0x100000)) s.result &= ~DWORD{0x1000000};
  return s.result;
}
constexpr Rule extended::Plover{.own = PloverByFeeders};

// ---- Auklet ----------------------------------------------------------------------
// The "(J)" models: cassettes are drawers up to four, then the side feeder.
constexpr InRow kAukletJIn[] = {
    {.test = Any(B("Bypa", 4)), .bits = 0x1000, .id = 31},
    {.test = Any(B("Casse", 5)), .when = CountBelow(4), .step = Step::LowDrawer},
    {.test = Any(B("Casse", 5)), .when = CountIs(4), .bits = 0x200, .id = 88},
    {.test = Any(B("NN-37", 5)), .bits = 0x200, .id = 88},
};
// Other models: the cassette table of the classic rule (shared_rows.h).
constexpr Rule kAukletJ{.in = kAukletJIn, .out = kAukletOut};
constexpr Rule kAukletCassettes{.in = kAukletCassettesIn, .out = kAukletOut};
static DWORD ChooseAuklet(const CPrnStaticInfo& record, const Lists& lists) {
  const CString& model = record.GetModelName();
  const bool jModel = model == "WR-4697(J)" || model == "WR-1949(J)";
  return Run(jModel ? kAukletJ : kAukletCassettes, record, lists);
}
constexpr Rule extended::Auklet{.own = ChooseAuklet};

// ---- Gannet ----------------------------------------------------------------------
constexpr NameRow kGannetOptions[] = {
    {.test = Any(B("FU-2", 4), B("Booklet", 7)), .bits = 0x400000},
};
constexpr NameRow kGannetFeederOptions[] = {
    {.test = Any(Is("GX-216")), .bits = 0x400},
    {.test = Any(Is("GX-235"), Is("NN-841")), .bits = 0x200},
};
constexpr InRow kGannetIn[] = {
    {.test = Any(B("Bypass", 6), B("MP T", 4), B("Multi", 5)), .bits = 0x1000, .id = 31},
    {.test = Any(B("NN-841", 6), B("GX-235", 6)), .step = Step::LargeFeeder},
    {.test = Any(B("GX-216", 6)), .bits = 0x400, .id = 96},
    {.test = Any(B("Casse", 5)), .when = IndexIs(5), .step = Step::LargeFeeder},
    {.test = Any(B("Casse", 5)), .when = IndexIsNot(5), .step = Step::LowDrawer},
};
constexpr OutRow kGannetOut[] = {
    {.test = Any(B("Face-d", 6), B("Face-u", 6), B("Left T", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("HI-399", 6), B("Finisher Tray A", 15), B("Finisher Tray B", 15), B("Document F", 10)),
     .bits = 0x100000, .id = 91, .step = Step::Finisher},
    {.test = Any(B("RJ-7", 4), B("Finisher Tray 1", 15), B("Finisher Tray 2", 15), B("Finisher Tray 3", 15),
                 B("Finisher Tray 4", 15), B("Finisher Tray 5", 15), B("Multi Tray", 10)),
     .bits = 0x800000, .id = 92},
};
constexpr Rule extended::Gannet{.options = kGannetOptions,
                       .moreOptions = kGannetFeederOptions,
                       .in = kGannetIn,
                       .zeroFallback = 0x100F,
                       .out = kGannetOut};

}  // namespace orvx::picture
