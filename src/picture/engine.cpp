#include "picture/engine.h"

#include <algorithm>
#include <string>
#include <type_traits>

namespace orvx::picture {
namespace {

// The rule's own steps, in the order Run takes them and the trace numbers them.
enum class Own { Start, PairWith, PairWithout, ByCount, Fallback, Duplex, OutputUnit, Final, End };

int OwnRows(const Rule& r, Own kind) {
  switch (kind) {
    case Own::Start: return r.start != 0;
    case Own::PairWith:
    case Own::PairWithout: return r.pair != BitPair::None;
    case Own::ByCount: return static_cast<int>(r.byCount.size());
    case Own::Fallback: return r.zeroFallback != 0;
    case Own::Duplex: return r.duplexBit != 0;
    case Own::OutputUnit: return r.outputUnitBit != 0;
    case Own::Final: return r.finalBits != 0;
    case Own::End: break;
  }
  return 0;
}

// The row number of the rule's own step `kind` (the k-th of its kind).
int OwnRow(const Rule& r, Own kind, int k = 0) {
  int row = 0;
  for (int g = 0; g < static_cast<int>(kind); ++g) row += OwnRows(r, static_cast<Own>(g));
  return row + k;
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

// A manual or default tray takes the host's name for it: the call's own
// strings when it brought them, else the process-wide table.
void Rename(const Scan& s, COptInTray& tray, UINT id) {
  if (!s.names) {
    tray.SetName(id);
    return;
  }
  const auto& text = id == kManualTray ? s.names->manualTray : s.names->defaultTray;
  tray.SetName(text ? std::string(*text).c_str() : "");
}

template <class Tray>
void Apply(Scan& s, const Row<Tray>& row, Tray& tray) {
  s.result |= row.bits;
  if (row.id != kKeep) tray.SetID(row.id);
  if constexpr (std::is_same_v<Tray, COptInTray>) {
    if (row.rename) Rename(s, tray, row.rename);
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
    if (!s.trace) {
      if (matched) Apply(s, *matched, tray);
      if (!matched && missId != kKeep) tray.SetID(missId);
      continue;
    }
    // The trace keeps the name as tested: a matching row may rename the tray.
    PictureTraceStep step;
    step.kind = std::is_same_v<Tray, COptInTray> ? PictureTraceStep::InTray : PictureTraceStep::OutTray;
    step.name = name;
    step.tray = s.index;
    if (matched) {
      Apply(s, *matched, tray);
      step.row = static_cast<int>(matched - rows.data());
      step.test = DescribeTest(matched->test);
    } else if (missId != kKeep) {
      tray.SetID(missId);  // the row after the table: any other tray
      step.row = static_cast<int>(rows.size());
      step.test = "any other out-tray";
    } else if (rows.empty() && !pre) {
      step.test = "not read by this rule";
    }
    step.added = s.result & ~before;
    step.id = tray.GetID();
    s.trace->steps.push_back(std::move(step));
  }
}

// Each name goes through the first table and then the second; the first
// matching row of each applies. Rows of the second table count on from the first's.
void ScanOptions(Scan& s, std::span<const NameRow> first, std::span<const NameRow> second, const Names& names) {
  if (first.empty() && second.empty() && !s.trace) return;
  names.ForEach([&](std::string_view name) {
    int matched = 0;
    for (const auto& table : {first, second}) {
      const DWORD before = s.result;
      const auto hit = std::find_if(table.begin(), table.end(), [&](const NameRow& r) { return r.test.Matches(name); });
      if (hit == table.end()) continue;
      s.result |= hit->bits;
      ++matched;
      if (!s.trace) continue;
      const int row = static_cast<int>(hit - table.begin());
      const int number = row + (table.data() == first.data() ? 0 : static_cast<int>(first.size()));
      TraceName(s, PictureTraceStep::Option, name, number, DescribeTest(hit->test), before);
    }
    if (!matched)
      TraceName(s, PictureTraceStep::Option, name, -1, first.empty() && second.empty() ? "not read by this rule" : "",
                s.result);
  });
}

// A step of the rule's own; its text and row are worked out only for a trace.
void OwnStep(Scan& s, const Rule& rule, Own kind, const char* what, DWORD bits) {
  if (s.trace)
    Credit(s, what, bits, OwnRow(rule, kind));
  else
    s.result |= bits;
}

std::string CountText(const CountBits& c) {
  if (c.low == c.high) return "drawer count " + std::to_string(c.low);
  if (c.high == INT_MAX) return "drawer count " + std::to_string(c.low) + " or more";
  return "drawer count " + std::to_string(c.low) + " to " + std::to_string(c.high);
}

}  // namespace

std::string DescribeTest(const Test& test) {
  std::string out;
  for (std::size_t i = 0; i < test.count; ++i) {
    if (i) out += " or ";
    const Lit& l = test.lits[i];
    if (i == 0 || l.exact != test.lits[i - 1].exact) out += l.exact ? "is " : "begins with ";
    out += '"';
    out += l.text;
    out += '"';
    if (!l.exact) out += " (" + std::to_string(l.text.size()) + ")";
  }
  return out;
}

void AddLiterals(const Test& test, PictureRuleRow& row) {
  for (std::size_t i = 0; i < test.count; ++i) row.literals.emplace_back(test.lits[i].text);
}

Scan Start(const CPrnStaticInfo& record, const Lists& lists) {
  Scan s{record, lists.trace, lists.names};
  s.duplexUnit = lists.duplexUnit;
  s.outputUnit = lists.outputUnit;
  return s;
}

void Credit(Scan& s, std::string_view what, DWORD bits, int row) {
  const DWORD before = s.result;
  s.result |= bits;
  if (!s.trace || !bits) return;
  PictureTraceStep step;
  step.kind = PictureTraceStep::Rule;
  step.row = row;
  step.test = what;
  step.added = s.result & ~before;
  s.trace->steps.push_back(std::move(step));
}

void Note(Scan& s, std::string_view what, int row) {
  if (!s.trace) return;
  PictureTraceStep step;
  step.kind = PictureTraceStep::Rule;
  step.row = row;
  step.test = what;
  s.trace->steps.push_back(std::move(step));
}

void NoteTrays(Scan& s, CPtrArray& trays, bool out, std::string_view why) {
  if (!s.trace) return;
  for (int i = 0; i < trays.GetSize(); ++i) {
    PictureTraceStep step;
    step.kind = out ? PictureTraceStep::OutTray : PictureTraceStep::InTray;
    step.name = out ? static_cast<COptOutTray*>(trays.GetAt(i))->GetName().view()
                    : static_cast<COptInTray*>(trays.GetAt(i))->GetName().view();
    step.tray = i;
    step.test = why;
    step.id = out ? static_cast<COptOutTray*>(trays.GetAt(i))->GetID() : static_cast<COptInTray*>(trays.GetAt(i))->GetID();
    s.trace->steps.push_back(std::move(step));
  }
}

void TraceName(Scan& s, PictureTraceStep::Kind kind, std::string_view name, int row, std::string test, DWORD before) {
  if (!s.trace) return;
  PictureTraceStep step;
  step.kind = kind;
  step.name = name;
  step.inputName = name;
  step.row = row;
  step.test = std::move(test);
  step.added = s.result & ~before;
  s.trace->steps.push_back(std::move(step));
}

void ScanIn(Scan& s, std::span<const InRow> rows, CPtrArray& trays, Hook<COptInTray> pre) {
  ScanTrays<COptInTray>(s, rows, trays, pre, kKeep);
}

void ScanOut(Scan& s, std::span<const OutRow> rows, CPtrArray& trays, Hook<COptOutTray> pre, int missId) {
  ScanTrays<COptOutTray>(s, rows, trays, pre, missId);
}

DWORD Run(const Rule& rule, const CPrnStaticInfo& record, const Lists& lists) {
  if (rule.own) return rule.own(record, lists);
  Scan s = Start(record, lists);

  // The document-unit test runs first: with ReplacesStart a document unit
  // takes the start value's place (such rules have no option tables).
  bool docUnit = false;
  if (rule.pair != BitPair::None)
    lists.docOptions.ForEach([&](std::string_view name) {
      const bool match = rule.docUnit.Matches(name);
      docUnit = docUnit || match;
      if (s.trace)
        TraceName(s, PictureTraceStep::DocOption, name, match ? 0 : -1, match ? DescribeTest(rule.docUnit) : "",
                  s.result);
    });
  else if (s.trace)
    lists.docOptions.ForEach([&](std::string_view name) {
      TraceName(s, PictureTraceStep::DocOption, name, -1, "not read by this rule", s.result);
    });
  const bool replaced = rule.pair == BitPair::ReplacesStart && docUnit;
  if (!replaced) OwnStep(s, rule, Own::Start, "start value", rule.start);

  ScanOptions(s, rule.options, rule.moreOptions, lists.options);
  if (replaced) {
    OwnStep(s, rule, Own::PairWith, "a document unit is installed: it replaces the start value", 0x4000000);
  } else if (rule.pair == BitPair::VendorTwo && record.GetVenderID() == 2) {
    if (docUnit)
      OwnStep(s, rule, Own::PairWith, "vendor 2, a document unit is installed", 0x4000000);
    else
      OwnStep(s, rule, Own::PairWithout, "vendor 2, no document unit is installed", 0x2000000);
  }

  ScanIn(s, rule.in, lists.in, rule.inPre);
  for (std::size_t k = 0; k < rule.byCount.size(); ++k) {
    const CountBits& c = rule.byCount[k];
    if (s.n < c.low || s.n > c.high) continue;
    if (s.trace)
      Credit(s, CountText(c), c.bits, OwnRow(rule, Own::ByCount, static_cast<int>(k)));
    else
      s.result |= c.bits;
  }
  if (s.result == 0) OwnStep(s, rule, Own::Fallback, "nothing set yet: fallback", rule.zeroFallback);

  ScanOut(s, rule.out, lists.out, rule.outPre, rule.outMissId);
  // A unit the rule has no bit for still gets its line: the trace names every input.
  if (lists.duplexUnit && rule.duplexBit)
    OwnStep(s, rule, Own::Duplex, "duplex unit installed", rule.duplexBit);
  else if (lists.duplexUnit)
    Note(s, "duplex unit installed: this rule does not read it");
  if (lists.outputUnit && rule.outputUnitBit && !s.stacker)
    OwnStep(s, rule, Own::OutputUnit, "output unit installed, no stacker", rule.outputUnitBit);
  else if (lists.outputUnit && rule.outputUnitBit)
    Note(s, "output unit installed, but a stacker was seen: no bit", OwnRow(rule, Own::OutputUnit));
  else if (lists.outputUnit)
    Note(s, "output unit " + std::to_string(lists.outputUnit) + ": this rule does not read it");
  OwnStep(s, rule, Own::Final, "always set", rule.finalBits);
  return s.result;
}

void Describe(const Rule& rule, std::vector<PictureRuleRow>& rows, std::string_view when) {
  if (rule.describe) {
    rule.describe(rows);
    return;
  }
  const std::string prefix = when.empty() ? "" : "when " + std::string(when);
  const auto add = [&](PictureTraceStep::Kind table, int index, const Test* test, DWORD bits, int id,
                       std::string effect) {
    PictureRuleRow row{table, index, test ? DescribeTest(*test) : "", {}, bits, id, {}};
    if (test) AddLiterals(*test, row);
    row.effect = prefix;
    if (!effect.empty()) row.effect += (row.effect.empty() ? "" : "; ") + effect;
    rows.push_back(std::move(row));
  };
  int i = 0;
  for (const auto& table : {rule.options, rule.moreOptions})
    for (const NameRow& r : table)
      add(PictureTraceStep::Option, i++, &r.test, r.bits, -1,
          table.data() == rule.moreOptions.data() && !rule.options.empty() ? "a second table: each name goes through both" : "");
  if (rule.pair != BitPair::None) add(PictureTraceStep::DocOption, 0, &rule.docUnit, 0, -1, "a document unit");

  const auto trays = [&](auto table, PictureTraceStep::Kind kind, bool hasPre) {
    // Trays counted from 1, as every text a person reads counts them.
    static const char* const kWhen[] = {"", "the 4th of 4 in-trays", "not the 4th of 4 in-trays", "in-tray ",
                                        "in-trays other than ", "drawer count ", "drawer count below ",
                                        "drawer count at least "};
    static const char* const kStep[] = {"",
                                        "drawer: ID 21+n, bit 0x2<<n, n+1",
                                        "drawer: ID 21+n, bit 0x1<<n, n+1",
                                        "drawer: ID 21+n, n+1",
                                        "n+1",
                                        "large feeder: ID 96 when 0x400 is set, else bit 0x200 and ID 88",
                                        "finisher tray: bit 0x200000 from the 4th on"};
    for (std::size_t k = 0; k < table.size(); ++k) {
      const auto& r = table[k];
      std::string effect;
      const auto also = [&](const std::string& text) { effect += (effect.empty() ? "" : "; ") + text; };
      if (r.when.when != When::Always) {
        std::string w = kWhen[static_cast<int>(r.when.when)];
        const bool position = r.when.when == When::IndexIs || r.when.when == When::IndexIsNot;
        if (w.back() == ' ') w += std::to_string(r.when.value + (position ? 1 : 0));
        also("only at " + w);
      }
      if (r.step != Step::None) also(kStep[static_cast<int>(r.step)]);
      if constexpr (std::is_same_v<std::decay_t<decltype(r)>, InRow>) {
        if (r.rename) also("renamed to host string " + std::to_string(r.rename));
      }
      if (r.stacker) also("a stacker");
      if (r.hook) also("and the group's own step");
      if (k == 0 && hasPre) also("the group renames trays before the tests");
      add(kind, static_cast<int>(k), &r.test, r.bits, r.id == kKeep ? -1 : r.id, effect);
    }
  };
  trays(rule.in, PictureTraceStep::InTray, rule.inPre != nullptr);
  trays(rule.out, PictureTraceStep::OutTray, rule.outPre != nullptr);
  if (rule.outMissId != kKeep) {
    add(PictureTraceStep::OutTray, static_cast<int>(rule.out.size()), nullptr, 0, rule.outMissId, "");
    rows.back().test = "any other out-tray";
  }

  for (int kind = 0; kind < static_cast<int>(Own::End); ++kind) {
    const Own k = static_cast<Own>(kind);
    for (int j = 0; j < OwnRows(rule, k); ++j) {
      DWORD bits = 0;
      std::string text;
      switch (k) {
        case Own::Start: bits = rule.start, text = "start value"; break;
        case Own::PairWith:
          bits = 0x4000000;
          text = rule.pair == BitPair::ReplacesStart ? "a document unit: replaces the start value"
                                                     : "vendor 2 and a document unit";
          break;
        case Own::PairWithout:
          bits = rule.pair == BitPair::VendorTwo ? 0x2000000 : 0;
          text = bits ? "vendor 2 and no document unit" : "no document unit: the start value stays";
          break;
        case Own::ByCount:
          bits = rule.byCount[static_cast<std::size_t>(j)].bits;
          text = "after the in-trays, " + CountText(rule.byCount[static_cast<std::size_t>(j)]);
          break;
        case Own::Fallback: bits = rule.zeroFallback, text = "after the in-trays, nothing set yet"; break;
        case Own::Duplex: bits = rule.duplexBit, text = "duplex unit installed"; break;
        case Own::OutputUnit: bits = rule.outputUnitBit, text = "output unit installed, no stacker"; break;
        case Own::Final: bits = rule.finalBits, text = "always"; break;
        case Own::End: break;
      }
      add(PictureTraceStep::Rule, OwnRow(rule, k, j), nullptr, bits, -1, "");
      rows.back().test = text;
    }
  }
}

}  // namespace orvx::picture
