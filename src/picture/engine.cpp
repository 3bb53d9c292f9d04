#include "engine.h"

#include <type_traits>

#include "orvx/picture_trace.h"

namespace orvx {

namespace {
thread_local PictureTrace* tCurrentTrace = nullptr;
}

PictureTrace::PictureTrace() : previous_(tCurrentTrace) { tCurrentTrace = this; }
PictureTrace::~PictureTrace() { tCurrentTrace = previous_; }
PictureTrace* PictureTrace::Current() { return tCurrentTrace; }

}  // namespace orvx

namespace orvx::picture {
namespace {

std::string Describe(const Test& test) {
  std::string out;
  for (std::size_t i = 0; i < test.count; ++i) {
    if (i) out += " or ";
    out += test.lits[i].exact ? "is \"" : "begins with \"";
    out += test.lits[i].text;
    out += '"';
  }
  return out;
}

// Records one tested name; `row` is null when no row matched.
template <class RowT>
void Trace(PictureTraceStep::Kind kind, std::string_view name, std::span<const RowT> rows, const RowT* row,
           DWORD before, DWORD after, int id) {
  PictureTrace* trace = PictureTrace::Current();
  if (!trace) return;
  PictureTraceStep step{kind, std::string(name), -1, {}, after & ~before, id};
  if (row) {
    step.row = static_cast<int>(row - rows.data());
    step.test = Describe(row->test);
  }
  trace->Add(std::move(step));
}

// `base` shifted left by n; drawer bits past bit 31 are dropped.
DWORD Shifted(DWORD base, int n) {
  if (n < 0 || n > 31) return 0;
  return static_cast<DWORD>((std::uint64_t{base} << n) & 0xFFFFFFFFu);
}

bool Holds(const Cond& c, const Scan& s) {
  switch (c.when) {
    case When::Always: return true;
    case When::FourthOfFour: return s.index == 3 && s.count == 4;
    case When::NotFourthOfFour: return !(s.index == 3 && s.count == 4);
    case When::IndexIs: return s.index == c.value;
    case When::IndexIsNot: return s.index != c.value;
    case When::CountIs: return s.n == c.value;
    case When::CountBelow: return s.n < c.value;
    case When::CountAtLeast: return s.n >= c.value;
  }
  return false;
}

template <class Tray>
void Apply(Scan& s, const Row<Tray>& row, Tray& tray) {
  s.result |= row.bits;
  if (row.id != kKeep) tray.SetID(row.id);
  if constexpr (std::is_same_v<Tray, COptInTray>) {
    if (row.rename) tray.SetName(row.rename);
  }
  switch (row.step) {
    case Step::None: break;
    case Step::Drawer:
      tray.SetID(21 + s.n);
      s.result |= Shifted(0x2, s.n++);
      break;
    case Step::LowDrawer:
      tray.SetID(21 + s.n);
      s.result |= Shifted(0x1, s.n++);
      break;
    case Step::Count:
      tray.SetID(21 + s.n++);
      break;
    case Step::Bump:
      ++s.n;
      break;
    case Step::LargeFeeder:
      if (s.result & 0x400) {
        tray.SetID(96);
      } else {
        s.result |= 0x200;
        tray.SetID(88);
      }
      break;
    case Step::Finisher:
      if (s.f >= 3) s.result |= 0x200000;
      ++s.f;
      break;
  }
  if (row.stacker) s.stacker = true;
  if (row.hook) row.hook(s, tray);
}

template <class Tray>
void ScanTrays(Scan& s, std::span<const Row<Tray>> rows, CPtrArray& trays, Hook<Tray> pre, int missId) {
  s.count = trays.GetSize();
  for (s.index = 0; s.index < s.count; ++s.index) {
    auto& tray = *static_cast<Tray*>(trays.GetAt(s.index));
    if (pre) pre(s, tray);
    const std::string_view name = tray.GetName().view();
    const DWORD before = s.result;
    const Row<Tray>* matched = nullptr;
    for (const auto& row : rows) {
      if (Holds(row.when, s) && row.test.Matches(name)) {
        matched = &row;
        break;
      }
    }
    // The trace keeps the name as tested: a matching row may rename the tray.
    if (PictureTrace::Current()) {
      const std::string tested(name);
      if (matched) Apply(s, *matched, tray);
      Trace(std::is_same_v<Tray, COptInTray> ? PictureTraceStep::InTray : PictureTraceStep::OutTray, tested, rows,
            matched, before, s.result, matched || missId == kKeep ? tray.GetID() : missId);
    } else if (matched) {
      Apply(s, *matched, tray);
    }
    if (!matched && missId != kKeep) tray.SetID(missId);
  }
}

}  // namespace

void ScanNames(Scan& s, std::span<const NameRow> rows, const CStringList& names) {
  if (rows.empty()) return;
  for (const CString& name : names) {
    const DWORD before = s.result;
    const NameRow* matched = nullptr;
    for (const auto& row : rows) {
      if (row.test.Matches(name.view())) {
        matched = &row;
        s.result |= row.bits;
        break;
      }
    }
    Trace(PictureTraceStep::Option, name.view(), rows, matched, before, s.result, -1);
  }
}

void ScanIn(Scan& s, std::span<const InRow> rows, CPtrArray& trays, Hook<COptInTray> pre) {
  ScanTrays<COptInTray>(s, rows, trays, pre, kKeep);
}

void ScanOut(Scan& s, std::span<const OutRow> rows, CPtrArray& trays, Hook<COptOutTray> pre, int missId) {
  ScanTrays<COptOutTray>(s, rows, trays, pre, missId);
}

DWORD Run(const Rule& rule, const CPrnStaticInfo& record, const Lists& lists) {
  if (rule.own) return rule.own(record, lists);
  Scan s{record};
  s.result = rule.start;
  s.duplexUnit = lists.duplexUnit;
  s.outputUnit = lists.outputUnit;

  if (lists.options) {
    ScanNames(s, rule.options, *lists.options);
    ScanNames(s, rule.moreOptions, *lists.options);
  }
  if (rule.pair != BitPair::None) {
    bool docUnit = false;
    if (lists.docOptions)
      for (const CString& name : *lists.docOptions) docUnit = docUnit || rule.docUnit.Matches(name.view());
    if (rule.pair == BitPair::ReplacesStart) {
      if (docUnit) s.result = 0x4000000;
    } else if (record.GetVenderID() == 2) {
      s.result |= docUnit ? 0x4000000 : 0x2000000;
    }
  }

  ScanIn(s, rule.in, lists.in, rule.inPre);
  for (const auto& c : rule.byCount)
    if (s.n >= c.low && s.n <= c.high) s.result |= c.bits;
  if (s.result == 0) s.result = rule.zeroFallback;

  ScanOut(s, rule.out, lists.out, rule.outPre, rule.outMissId);
  if (lists.duplexUnit) s.result |= rule.duplexBit;
  if (lists.outputUnit && !s.stacker) s.result |= rule.outputUnitBit;
  s.result |= rule.finalBits;
  return s.result;
}

}  // namespace orvx::picture
