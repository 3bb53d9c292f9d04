// Extended option rules that count units: a feeder-configuration table
// (Plover), cassettes numbered by position (Auklet, Gannet) and counted
// finisher trays.
#include <algorithm>
#include <array>
#include <string>

#include "picture/rules.h"
#include "picture/shared_rows.h"

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

// Installed units that the rule counts, in test order, and the bits each sets.
enum PloverUnit { kGX268, kGX261, kGX266, kHI331, kHI372, kRJ7, kFU2, kPloverUnits };
constexpr std::array<NameRow, kPloverUnits> kPloverUnitRows = {{
    {Any(B("GX-268", 6))},
    {Any(B("GX-261", 6))},
    {Any(B("GX-266", 6))},
    {Any(B("HI-331", 6)), 0x100000},
    {Any(B("HI-372", 6)), 0x100000},
    {Any(B("RJ-7", 4)), 0x800000},
    {Any(B("FU-2", 4)), 0x400000},
}};
constexpr Test kPloverDocUnit = Any(B("NMFR-8", 6));

// Finisher and mailbox trays get their slots here; their bits come from the units.
constexpr OutRow kPloverOut[] = {
    {.test = Any(B("Top Tr", 6)), .bits = 0x40000, .id = 51},
    {.test = Any(B("Left T", 6), B("GA-199", 6)), .bits = 0x80000, .id = 50},
    {.test = Any(B("HI-331", 6), B("HI-372", 6), B("Finisher Tray A", 15), B("Finisher Tray B", 15)), .id = 91},
    {.test = Any(B("RJ-7", 4), B("Finisher Tray 1", 15), B("Finisher Tray 2", 15), B("Finisher Tray 3", 15),
                 B("Finisher Tray 4", 15), B("Finisher Tray 5", 15)),
     .id = 92},
};

// The rule's own rows: the copier line's start and document-unit pair, then
// the feeder configurations.
enum { kPloverStart, kPloverWithDoc, kPloverWithoutDoc, kPloverFirstConfig };
constexpr DWORD kPloverStartBits = 0x800, kPloverDocBits = 0x4000000, kPloverNoDocBits = 0x2000000;

std::string ConfigText(const FeederConfig& row) {
  return std::to_string(row.inTrays) + " in-trays, " + std::to_string(row.gx268) + " GX-268" +
         (row.gx261 ? ", GX-261" : "") + (row.gx266 ? ", GX-266" : "");
}

// The configuration is the first row that has this many in-trays and units;
// without one, no bits and the slots of row 1. The configurations' 0x1000000
// needs a finisher unit (the units are the only source of 0x100000).
static DWORD PloverByFeeders(const CPrnStaticInfo& record, const Lists& lists) {
  Scan s = Start(record, lists);
  std::array<int, kPloverUnits> units{};
  lists.options.ForEach([&](std::string_view name) {
    const DWORD before = s.result;
    const auto row = std::find_if(kPloverUnitRows.begin(), kPloverUnitRows.end(),
                                  [&](const NameRow& r) { return r.test.Matches(name); });
    if (row == kPloverUnitRows.end()) return TraceName(s, PictureTraceStep::Option, name, -1, {}, before);
    const auto u = static_cast<std::size_t>(row - kPloverUnitRows.begin());
    ++units[u];
    s.result |= row->bits;
    if (s.trace) TraceName(s, PictureTraceStep::Option, name, static_cast<int>(u), DescribeTest(row->test), before);
  });
  bool docUnit = false;
  lists.docOptions.ForEach([&](std::string_view name) {
    const bool match = kPloverDocUnit.Matches(name);
    docUnit = docUnit || match;
    if (s.trace)
      TraceName(s, PictureTraceStep::DocOption, name, match ? 0 : -1, match ? DescribeTest(kPloverDocUnit) : "", s.result);
  });
  if (record.GetVenderID() == 2) {
    Credit(s, "vendor 2: start value", kPloverStartBits, kPloverStart);
    if (docUnit)
      Credit(s, "vendor 2, a document unit is installed", kPloverDocBits, kPloverWithDoc);
    else
      Credit(s, "vendor 2, no document unit is installed", kPloverNoDocBits, kPloverWithoutDoc);
  }

  const int c = lists.in.GetSize();
  const bool finisher = units[kHI331] || units[kHI372];
  const FeederConfig* chosen = nullptr;
  for (const auto& row : kPloverFeeders) {
    if (row.inTrays == c && row.gx268 == units[kGX268] && row.gx261 == (units[kGX261] > 0) &&
        row.gx266 == (units[kGX266] > 0)) {
      const auto bits = static_cast<DWORD>(row.bits) & (finisher ? ~DWORD{0} : ~DWORD{0x1000000});
      if (s.trace)
        Credit(s, "feeder configuration: " + ConfigText(row), bits,
               kPloverFirstConfig + static_cast<int>(&row - kPloverFeeders));
      else
        s.result |= bits;
      chosen = &row;
      break;
    }
  }
  const int slots = static_cast<int>(kPloverFeeders[0].slots.size());
  if (!chosen) Note(s, "no feeder configuration matched: 0");
  const FeederConfig& used = chosen ? *chosen : kPloverFeeders[0];
  const int config = kPloverFirstConfig + static_cast<int>(&used - kPloverFeeders);
  if (c <= slots)
    for (int j = 0; j < c; ++j) {
      auto& tray = *static_cast<COptInTray*>(lists.in.GetAt(j));
      tray.SetID(used.slots[static_cast<std::size_t>(j)]);
      if (!s.trace) continue;
      PictureTraceStep step;
      step.kind = PictureTraceStep::InTray;
      step.name = tray.GetName().view();
      step.tray = j;
      step.test = (chosen ? "" : "no feeder configuration matched: ") + std::string("the ID of in-tray ") +
                  std::to_string(j + 1) + " in rule row " + std::to_string(config) + " (" + ConfigText(used) + ")" +
                  (j < used.inTrays ? "" : ", which has " + std::to_string(used.inTrays) + " in-trays");
      step.id = tray.GetID();
      s.trace->steps.push_back(std::move(step));
    }
  else
    NoteTrays(s, lists.in, false,
              "more than " + std::to_string(slots) + " in-trays: no feeder configuration, so no ID is written");

  ScanOut(s, kPloverOut, lists.out);
  return s.result;
}

static void DescribePlover(std::vector<PictureRuleRow>& rows) {
  for (std::size_t u = 0; u < kPloverUnitRows.size(); ++u) {
    PictureRuleRow row{PictureTraceStep::Option, static_cast<int>(u), DescribeTest(kPloverUnitRows[u].test), {},
                       kPloverUnitRows[u].bits, -1, u < kHI331 ? "counted for the feeder configuration" : ""};
    AddLiterals(kPloverUnitRows[u].test, row);
    rows.push_back(std::move(row));
  }
  PictureRuleRow doc{PictureTraceStep::DocOption, 0, DescribeTest(kPloverDocUnit), {}, 0, -1, "a document unit"};
  AddLiterals(kPloverDocUnit, doc);
  rows.push_back(std::move(doc));
  for (std::size_t k = 0; k < std::size(kPloverOut); ++k) {
    PictureRuleRow row{PictureTraceStep::OutTray, static_cast<int>(k), DescribeTest(kPloverOut[k].test), {},
                       kPloverOut[k].bits, kPloverOut[k].id, ""};
    AddLiterals(kPloverOut[k].test, row);
    rows.push_back(std::move(row));
  }
  rows.push_back({PictureTraceStep::Rule, kPloverStart, "vendor 2: start value", {}, kPloverStartBits, -1, ""});
  rows.push_back({PictureTraceStep::Rule, kPloverWithDoc, "vendor 2 and a document unit", {}, kPloverDocBits, -1, ""});
  rows.push_back({PictureTraceStep::Rule, kPloverWithoutDoc, "vendor 2 and no document unit", {}, kPloverNoDocBits, -1, ""});
  for (std::size_t k = 0; k < std::size(kPloverFeeders); ++k) {
    const FeederConfig& f = kPloverFeeders[k];
    std::string slots;
    for (int j = 0; j < f.inTrays && j < 6; ++j) slots += (j ? " " : "") + std::to_string(f.slots[static_cast<std::size_t>(j)]);
    rows.push_back({PictureTraceStep::Rule, kPloverFirstConfig + static_cast<int>(k), "feeder configuration: " + ConfigText(f),
                    {}, static_cast<DWORD>(f.bits), -1,
                    "in-tray IDs " + slots + (f.bits & 0x1000000 ? "; 0x1000000 only with a finisher unit" : "")});
  }
}
constexpr Rule extended::Plover{.own = PloverByFeeders, .describe = DescribePlover};

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
static void DescribeAuklet(std::vector<PictureRuleRow>& rows) {
  Describe(kAukletJ, rows, "the model is WR-4697(J) or WR-1949(J)");
  Describe(kAukletCassettes, rows, "another model");
}
constexpr Rule extended::Auklet{.own = ChooseAuklet, .describe = DescribeAuklet};

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
