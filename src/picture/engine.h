// The picture-rule engine: a model group's rule is a table of rows, and one
// small routine runs any table. A row names the trays it recognises and what
// recognising one does (bits, tray ID, drawer step, rename, ...).
#pragma once

#include <array>
#include <climits>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "orvx/picture.h"
#include "orvx/picture_trace.h"
#include "orvx/prn_static_info.h"

namespace orvx::picture {

// One literal of a name test: the name begins with it (byte for byte, case
// sensitive), or equals it when `exact`.
struct Lit {
  std::string_view text;
  bool exact = false;
};

// "begins with X (n)". The byte count stands next to the literal so that a
// row reads like its table; a count that is not the literal's length does not
// compile.
consteval Lit B(std::string_view text, std::size_t count) {
  if (count != text.size() || text.empty()) throw "byte count differs from the literal's length";
  return Lit{text, false};
}
// "is exactly X".
consteval Lit Is(std::string_view text) {
  if (text.empty()) throw "an exact test needs a literal";
  return Lit{text, true};
}

// A row's name test: passes when any of its literals does.
struct Test {
  std::array<Lit, 8> lits{};
  std::uint8_t count = 0;

  bool Matches(std::string_view name) const {
    if (name.empty()) return false;  // no literal is empty
    for (std::size_t i = 0; i < count; ++i) {
      const Lit& l = lits[i];
      // Most literals differ from the name in the first byte: test it before the rest.
      if (l.text[0] != name[0] || name.size() < l.text.size()) continue;
      if (l.exact && name.size() != l.text.size()) continue;
      std::size_t k = 1;  // literals are a few bytes: a plain loop beats a call to memcmp
      while (k < l.text.size() && l.text[k] == name[k]) ++k;
      if (k == l.text.size()) return true;
    }
    return false;
  }
};

template <class... L>
consteval Test Any(L... lits) {
  static_assert(sizeof...(L) >= 1 && sizeof...(L) <= 8);
  return Test{{lits...}, static_cast<std::uint8_t>(sizeof...(L))};
}

// When a row may apply, besides its name test: by the tray's position i in a
// list of c in-trays, or by the drawer counter n.
enum class When : std::uint8_t {
  Always,
  FourthOfFour,     // i = 3 and c = 4
  NotFourthOfFour,  // not (i = 3 and c = 4)
  IndexIs,          // i = value
  IndexIsNot,       // i != value
  CountIs,          // n = value
  CountBelow,       // n < value
  CountAtLeast,     // n >= value
};
struct Cond {
  When when = When::Always;
  int value = 0;
};
inline constexpr Cond kFourthOfFour{When::FourthOfFour};
inline constexpr Cond kNotFourthOfFour{When::NotFourthOfFour};
constexpr Cond IndexIs(int i) { return {When::IndexIs, i}; }
constexpr Cond IndexIsNot(int i) { return {When::IndexIsNot, i}; }
constexpr Cond CountIs(int n) { return {When::CountIs, n}; }
constexpr Cond CountBelow(int n) { return {When::CountBelow, n}; }
constexpr Cond CountAtLeast(int n) { return {When::CountAtLeast, n}; }

// What a row does with the drawer counter n and the finisher counter f.
enum class Step : std::uint8_t {
  None,
  Drawer,       // ID 21 + n, bit 0x2 << n, n + 1
  LowDrawer,    // ID 21 + n, bit 0x1 << n, n + 1
  Count,        // ID 21 + n, no bit, n + 1
  Bump,         // n + 1 only (the row's own bits and ID apply)
  LargeFeeder,  // 0x400 already set: ID 96; else bit 0x200 and ID 88
  Finisher,     // bit 0x200000 when f >= 3, then f + 1
};

inline constexpr int kKeep = INT_MIN;  // the row does not write the tray's ID

// The host strings a call brings with it (kManualTray, kDefaultTray). Without them the
// rules read the process-wide table, as the host framework's entry points do.
struct HostNames {
  std::optional<std::string_view> manualTray, defaultTray;
};

// The state of one rule call.
struct Scan {
  const CPrnStaticInfo& record;
  PictureTrace* trace = nullptr;
  const HostNames* names = nullptr;
  DWORD result = 0;
  int n = 0;             // drawer counter
  int f = 0;             // finisher counter
  bool stacker = false;  // a stacker output tray was seen
  int index = 0;         // position of the tray being tested
  int count = 0;         // number of in-trays
  int duplexUnit = 0;
  int outputUnit = 0;
};

template <class Tray>
using Hook = void (*)(Scan&, Tray&);

template <class Tray>
struct Row {
  Test test;
  Cond when{};
  DWORD bits = 0;
  int id = kKeep;
  Step step = Step::None;
  UINT rename = 0;        // host string resource that becomes the in-tray's name
  bool stacker = false;   // sets the stacker-seen flag
  Hook<Tray> hook = nullptr;  // the group's own effect, run after the others
};
using InRow = Row<COptInTray>;
using OutRow = Row<COptOutTray>;

// A row of a unit-name list (option or document units): bits only.
struct NameRow {
  Test test;
  DWORD bits = 0;
};

// Bits added after the in-tray scan when the drawer counter n lies in [low, high].
struct CountBits {
  int low;
  int high;
  DWORD bits;
};

// The document-unit bit pair: 0x4000000 when a document unit passes the
// rule's test, 0x2000000 when none does.
enum class BitPair : std::uint8_t {
  None,
  VendorTwo,      // only on a record whose vendor ID is 2
  ReplacesStart,  // always; a document unit replaces the start value
};

// A list of unit names, from the framework's string list or from plain views.
class Names {
 public:
  Names() = default;
  Names(const CStringList& list) : list_(&list) {}  // NOLINT: the framework's entry points pass theirs
  Names(std::span<const std::string_view> views) : views_(views) {}  // NOLINT
  template <class F>
  void ForEach(F f) const {
    if (list_)
      for (const CString& name : *list_) f(name.view());
    else
      for (const std::string_view name : views_) f(name);
  }

 private:
  const CStringList* list_ = nullptr;
  std::span<const std::string_view> views_{};
};

// Lists a rule reads; the classic rules have no unit-name lists, the
// one-list rules no document units.
struct Lists {
  CPtrArray& in;
  CPtrArray& out;
  Names options{};
  Names docOptions{};
  int duplexUnit = 0;
  int outputUnit = 0;
  PictureTrace* trace = nullptr;     // what the rule did, when asked
  const HostNames* names = nullptr;  // null: the process-wide string table
};

inline constexpr UINT kManualTray = kManualTrayString;
inline constexpr UINT kDefaultTray = kDefaultTrayString;

// A whole rule, run in this order: start value, option tables, document-unit
// bit pair, in-trays, bits by drawer count, zero fallback, out-trays, final
// bits.
struct Rule {
  // The group's own code where rows cannot say it; when set, it runs instead
  // of everything below, and `describe` lists its tables.
  DWORD (*own)(const CPrnStaticInfo&, const Lists&) = nullptr;
  void (*describe)(std::vector<PictureRuleRow>&) = nullptr;
  DWORD start = 0;
  std::span<const NameRow> options{};       // each option name, first match
  std::span<const NameRow> moreOptions{};   // a second table each name also goes through
  Test docUnit{};
  BitPair pair = BitPair::None;
  Hook<COptInTray> inPre = nullptr;         // before an in-tray's tests
  std::span<const InRow> in{};
  std::span<const CountBits> byCount{};
  DWORD zeroFallback = 0;                   // result still 0 after the in-trays becomes this
  Hook<COptOutTray> outPre = nullptr;       // before an out-tray's tests
  std::span<const OutRow> out{};
  int outMissId = kKeep;                    // ID written to out-trays that no row matches
  DWORD duplexBit = 0;                      // added for a non-zero duplexUnit
  DWORD outputUnitBit = 0;                  // added for a non-zero outputUnit, unless a stacker was seen
  DWORD finalBits = 0;
};


DWORD Run(const Rule& rule, const CPrnStaticInfo& record, const Lists& lists);

// The rows of a rule, in the order the trace numbers them; `when` (may be
// empty) says when this table applies, for rules with several.
void Describe(const Rule& rule, std::vector<PictureRuleRow>& rows, std::string_view when = {});
// The text of a name test: begins with "Cass" (4) or is "Tray 1".
std::string DescribeTest(const Test& test);
void AddLiterals(const Test& test, PictureRuleRow& row);

// Building blocks for rules that are partly their own code.
Scan Start(const CPrnStaticInfo& record, const Lists& lists);
// Records one step of the rule's own; `bits` go into the result.
void Credit(Scan& s, std::string_view what, DWORD bits, int row);
// Records a step that sets nothing, for a trace only: an input the rule does
// not read, or the step that leaves a result at 0.
void Note(Scan& s, std::string_view what, int row = -1);
// Records, for each tray of `trays`, a step that says why the rule writes no ID into it.
void NoteTrays(Scan& s, CPtrArray& trays, bool out, std::string_view why);
// Records a unit name that a table of kind `kind` tested; `row` is its match or -1.
void TraceName(Scan& s, PictureTraceStep::Kind kind, std::string_view name, int row, std::string test, DWORD before);
void ScanIn(Scan& s, std::span<const InRow> rows, CPtrArray& trays, Hook<COptInTray> pre = nullptr);
void ScanOut(Scan& s, std::span<const OutRow> rows, CPtrArray& trays, Hook<COptOutTray> pre = nullptr,
             int missId = kKeep);

}  // namespace orvx::picture
