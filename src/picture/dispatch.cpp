// The four picture-ID entry points and the one picture call: tray records
// built from a caller's list, tray-name normalisation, and the choice of rule
// by vendor and model group.
#include "picture/dispatch.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <vector>

#include "orvx/picture.h"
#include "orvx/prn_static_info.h"
#include "picture/rules.h"

namespace orvx::picture {

namespace {

enum class Form : std::uint8_t { Classic, ClassicDuplex, Fixed, Extended, ExtendedDocs };

// A model group value as a bit; -1 (every other group) is the top bit.
template <class... G>
consteval std::uint64_t Groups(G... groups) {
  std::uint64_t mask = 0;
  const int list[] = {0, groups...};  // the leading 0 only lets the list be empty
  for (std::size_t i = 1; i < std::size(list); ++i) {
    const int g = list[i];
    if (g != -1 && (g < 0 || g > 62)) throw "a model group lies outside 0..62";
    mask |= std::uint64_t{1} << (g == -1 ? 63 : g);
  }
  return mask;
}
#define ORVX_GROUPS(...) Groups(__VA_ARGS__)

struct Route {
  Form form;
  const char* name;
  const Rule* rule;  // null: no rule, the result is `fixed`
  DWORD fixed;
  std::uint64_t printer;  // groups of vendor 1
  std::uint64_t copier;   // groups of vendor 2
};

#define ORVX_CLASSIC(name, printer, copier) \
  {Form::Classic, "GetOptionFlag_" #name, &classic::name, 0, ORVX_GROUPS printer, ORVX_GROUPS copier},
#define ORVX_CLASSIC_DUPLEX(name, printer, copier) \
  {Form::ClassicDuplex, "GetOptionFlag_" #name, &classic::name, 0, ORVX_GROUPS printer, ORVX_GROUPS copier},
#define ORVX_CLASSIC_FIXED(result, printer, copier) \
  {Form::Fixed, nullptr, nullptr, result, ORVX_GROUPS printer, ORVX_GROUPS copier},
#define ORVX_EXTENDED(name, printer, copier)
#define ORVX_EXTENDED_DOCS(name, printer, copier)
constexpr Route kClassic[] = {
#include "orvx/picture_rules.inc"
};

#define ORVX_CLASSIC(name, printer, copier)
#define ORVX_CLASSIC_DUPLEX(name, printer, copier)
#define ORVX_CLASSIC_FIXED(result, printer, copier)
#define ORVX_EXTENDED(name, printer, copier) \
  {Form::Extended, "GetOptionFlagEx_" #name, &extended::name, 0, ORVX_GROUPS printer, ORVX_GROUPS copier},
#define ORVX_EXTENDED_DOCS(name, printer, copier) \
  {Form::ExtendedDocs, "GetOptionFlagEx_" #name, &extended::name, 0, ORVX_GROUPS printer, ORVX_GROUPS copier},
constexpr Route kExtended[] = {
#include "orvx/picture_rules.inc"
};
#undef ORVX_GROUPS

// The row that names the group on the vendor's line, else the line's row for
// every other group, else none.
const Route* ScanRoutes(std::span<const Route> table, int vendor, int group) {
  if (vendor != 1 && vendor != 2) return nullptr;
  const Route* others = nullptr;
  for (const Route& r : table) {
    const std::uint64_t mask = vendor == 1 ? r.printer : r.copier;
    if (group >= 0 && group <= 62 && (mask >> group & 1)) return &r;
    if (mask >> 63) others = &r;
  }
  return others;
}

// ScanRoutes' answer for every vendor and group, worked out once: each group a row
// can name (0 to 62) has its slot, and every other group shares slot 63.
const Route* Find(bool extended, int vendor, int group) {
  using Line = std::array<const Route*, 64>;
  static const std::array<std::array<Line, 2>, 2> kTable = [] {
    std::array<std::array<Line, 2>, 2> t{};
    for (int v = 1; v <= 2; ++v)
      for (int g = 0; g < 64; ++g) {
        t[0][v - 1][static_cast<std::size_t>(g)] = ScanRoutes(kClassic, v, g);
        t[1][v - 1][static_cast<std::size_t>(g)] = ScanRoutes(kExtended, v, g);
      }
    return t;
  }();
  if (vendor != 1 && vendor != 2) return nullptr;
  const auto slot = std::min<std::size_t>(static_cast<unsigned>(group), 63);  // a group below 0 reads as one past 62
  return kTable[extended][static_cast<std::size_t>(vendor - 1)][slot];
}

// Strips a leading "Optional" or "Option" word and the character after it.
// Output trays know only "Optional".
void Normalise(CPtrArray& inTrays, CPtrArray& outTrays) {
  for (void* p : inTrays) {
    auto* tray = static_cast<COptInTray*>(p);
    const std::string_view name = tray->GetName().view();
    if (name.starts_with("Optional"))
      tray->SetName(tray->GetName().Mid(9));
    else if (name.starts_with("Option"))
      tray->SetName(tray->GetName().Mid(7));
  }
  for (void* p : outTrays) {
    auto* tray = static_cast<COptOutTray*>(p);
    if (tray->GetName().view().starts_with("Optional")) tray->SetName(tray->GetName().Mid(9));
  }
}

// Trace lines for what the call brought but the entry point drops before
// the rule runs (`given` as the caller passed it, `kept` as the rule sees it).
void Unread(const CPrnStaticInfo& record, const Lists& given, const Lists& kept, bool extended) {
  Scan s = Start(record, kept);
  const std::string why = extended ? "GetPictureIDEx does not read it" : "GetPictureID does not read it";
  if (given.duplexUnit && !kept.duplexUnit) Note(s, "duplex unit installed: " + why);
  if (given.outputUnit && !kept.outputUnit)
    Note(s, "output unit " + std::to_string(given.outputUnit) + ": " + (extended ? why : "this rule takes none"));
  if (extended) return;
  given.options.ForEach([&](std::string_view name) { TraceName(s, PictureTraceStep::Option, name, -1, why, 0); });
  given.docOptions.ForEach([&](std::string_view name) { TraceName(s, PictureTraceStep::DocOption, name, -1, why, 0); });
}

}  // namespace

DWORD Dispatch(const CPrnStaticInfo& record, bool extended, const Lists& lists) {
  const int vendor = record.GetVenderID();
  if (extended || vendor == 1) Normalise(lists.in, lists.out);  // the classic copier line keeps "Option" names
  const Route* route =
      Find(extended, vendor, record.GetModelGroupID());
  Lists l = lists;
  if (extended) {
    l.duplexUnit = l.outputUnit = 0;
  } else {
    l.options = l.docOptions = {};
    if (route && route->form == Form::ClassicDuplex) l.outputUnit = 0;
  }
  if (l.trace) {
    l.trace->rule = route && route->name ? route->name : "";
    Unread(record, lists, l, extended);
  }
  if (route && route->rule) return Run(*route->rule, record, l);

  Scan s = Start(record, l);
  for (const auto kind : {PictureTraceStep::Option, PictureTraceStep::DocOption})
    (kind == PictureTraceStep::Option ? l.options : l.docOptions).ForEach([&](std::string_view name) {
      TraceName(s, kind, name, -1, "no rule runs for this group", 0);
    });
  NoteTrays(s, l.in, false, "no rule runs for this group");
  NoteTrays(s, l.out, true, "no rule runs for this group");
  if (l.duplexUnit) Note(s, "duplex unit installed: no rule runs for this group");
  if (l.outputUnit) Note(s, "output unit " + std::to_string(l.outputUnit) + ": no rule runs for this group");
  if (route && route->fixed)
    Credit(s, "fixed result of the group", route->fixed, -1);
  else
    Note(s, route ? "fixed result of the group: 0" : "no rule for this group: picture ID 0");
  return s.result;
}

void TrayRecords::Resize(std::size_t inCount, std::size_t outCount) {
  while (ins_.size() < inCount) ins_.push_back(std::make_unique<COptInTray>());
  while (outs_.size() < outCount) outs_.push_back(std::make_unique<COptOutTray>());
  // Resized only when the count changes: emptying a pointer array frees its storage.
  if (in.GetSize() != static_cast<int>(inCount)) in.SetSize(static_cast<int>(inCount));
  if (out.GetSize() != static_cast<int>(outCount)) out.SetSize(static_cast<int>(outCount));
  for (std::size_t i = 0; i < inCount; ++i) in.SetAt(static_cast<int>(i), ins_[i].get());
  for (std::size_t i = 0; i < outCount; ++i) out.SetAt(static_cast<int>(i), outs_[i].get());
}

namespace {
// The fields both kinds of tray record take from the caller's tray.
template <class Tray>
void Fill(Tray& t, const PictureTray& tray, std::string& name) {
  name.assign(tray.name);
  t.SetName(name.c_str());
  t.SetID(tray.id);
  t.SetAddUnit(tray.addUnit);
}
}  // namespace

void TrayRecords::SetIn(std::size_t i, const PictureTray& tray) { Fill(*ins_[i], tray, name_); }

void TrayRecords::SetOut(std::size_t i, const PictureTray& tray) {
  COptOutTray& t = *outs_[i];
  Fill(t, tray, name_);
  t.SetDerivery(tray.delivery);
}

namespace {

// Temporary tray records for a name-list entry point.
void FromNames(TrayRecords& trays, const CStringList& inNames, const CStringList& outNames) {
  trays.Resize(static_cast<std::size_t>(inNames.GetCount()), static_cast<std::size_t>(outNames.GetCount()));
  std::size_t i = 0;
  for (const CString& name : inNames) trays.SetIn(i++, PictureTray{name.view()});
  i = 0;
  for (const CString& name : outNames) trays.SetOut(i++, PictureTray{name.view()});
}

std::vector<int> GroupList(std::uint64_t mask) {
  std::vector<int> groups;
  for (int g = 0; g < 63; ++g)
    if (mask >> g & 1) groups.push_back(g);
  if (mask >> 63) groups.push_back(-1);
  return groups;
}

}  // namespace
}  // namespace orvx::picture

using orvx::picture::Dispatch;
using orvx::picture::Lists;
using orvx::picture::Run;

DWORD CPrnStaticInfo::GetPictureID(CStringList& inTrayNames, CStringList& outTrayNames, int duplexUnit,
                                   int outputUnit) {
  orvx::picture::TrayRecords trays;
  orvx::picture::FromNames(trays, inTrayNames, outTrayNames);
  return GetPictureID(trays.in, trays.out, duplexUnit, outputUnit);
}

DWORD CPrnStaticInfo::GetPictureID(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit, int outputUnit) {
  return Dispatch(*this, false, Lists{inTrays, outTrays, {}, {}, duplexUnit, outputUnit});
}

DWORD CPrnStaticInfo::GetPictureIDEx(CStringList& inTrayNames, CStringList& outTrayNames, CStringList& optionNames,
                                     CStringList& docOptionNames) {
  orvx::picture::TrayRecords trays;
  orvx::picture::FromNames(trays, inTrayNames, outTrayNames);
  return GetPictureIDEx(trays.in, trays.out, optionNames, docOptionNames);
}

DWORD CPrnStaticInfo::GetPictureIDEx(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames,
                                     CStringList& docOptionNames) {
  return Dispatch(*this, true, Lists{inTrays, outTrays, optionNames, docOptionNames});
}

orvx::PictureRoute orvx::ChoosePictureRule(int vendor, int group, bool extended) {
  const auto* r = picture::Find(extended, vendor, group);
  return {r ? r->name : nullptr, r ? r->fixed : 0};
}

// ---- the one picture call ---------------------------------------------------------

struct orvx::PictureCaller::Trays {
  picture::TrayRecords records;
};

orvx::PictureCaller::PictureCaller() : trays_(std::make_unique<Trays>()) {}
orvx::PictureCaller::~PictureCaller() = default;
const COptInTray& orvx::PictureCaller::In(std::size_t i) const { return trays_->records.In(i); }
const COptOutTray& orvx::PictureCaller::Out(std::size_t i) const { return trays_->records.Out(i); }

DWORD orvx::PictureCaller::Call(const CPrnStaticInfo& record, const PictureCall& call, PictureTrace* trace) {
  picture::TrayRecords& t = trays_->records;
  t.Resize(call.in.size(), call.out.size());
  for (std::size_t i = 0; i < call.in.size(); ++i) t.SetIn(i, call.in[i]);
  for (std::size_t i = 0; i < call.out.size(); ++i) t.SetOut(i, call.out[i]);
  if (trace) trace->Clear();
  const picture::HostNames names{call.manualTrayName, call.defaultTrayName};
  const DWORD id = Dispatch(record, call.extended,
                            Lists{t.in, t.out, call.options, call.docOptions, call.duplexUnit, call.outputUnit, trace, &names});
  if (trace)
    for (PictureTraceStep& step : trace->steps) {
      if (step.kind != PictureTraceStep::InTray && step.kind != PictureTraceStep::OutTray) continue;
      const auto i = static_cast<std::size_t>(step.tray);
      const bool in = step.kind == PictureTraceStep::InTray;
      step.inputName = in ? call.in[i].name : call.out[i].name;
      step.finalName = in ? t.In(i).GetName().view() : t.Out(i).GetName().view();
    }
  return id;
}

// ---- the rules' vocabulary ----------------------------------------------------------

const char* orvx::PictureStepName(int kind) {
  static constexpr const char* kNames[] = {"option", "doc-option", "in-tray", "out-tray", "rule"};
  static_assert(std::size(kNames) == PictureTraceStep::Rule + 1);
  return kind >= 0 && kind <= PictureTraceStep::Rule ? kNames[kind] : nullptr;
}

const std::vector<orvx::PictureRuleRoute>& orvx::PictureRoutes() {
  static const std::vector<PictureRuleRoute> routes = [] {
    std::vector<PictureRuleRoute> all;
    for (const bool extended : {false, true})
      for (const auto& r : extended ? std::span<const picture::Route>(picture::kExtended)
                                    : std::span<const picture::Route>(picture::kClassic))
        for (const int vendor : {1, 2}) {
          const std::uint64_t mask = vendor == 1 ? r.printer : r.copier;
          if (mask)
            all.push_back(PictureRuleRoute{r.name ? r.name : "", extended, vendor, picture::GroupList(mask), r.fixed});
        }
    return all;
  }();
  return routes;
}

const std::vector<orvx::PictureRuleRow>* orvx::PictureRuleRows(std::string_view rule) {
  static const std::map<std::string, std::vector<PictureRuleRow>, std::less<>> rows = [] {
    std::map<std::string, std::vector<PictureRuleRow>, std::less<>> all;
    for (const auto& r : picture::kClassic)
      if (r.rule) picture::Describe(*r.rule, all[r.name]);
    for (const auto& r : picture::kExtended)
      if (r.rule) picture::Describe(*r.rule, all[r.name]);
    return all;
  }();
  const auto it = rows.find(rule);
  return it == rows.end() ? nullptr : &it->second;
}

// The rule functions themselves, one per row of the list.
#define ORVX_CLASSIC(name, printer, copier)                                                               \
  DWORD CPrnStaticInfo::GetOptionFlag_##name(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit,     \
                                             int outputUnit) {                                            \
    return Run(orvx::picture::classic::name, *this, Lists{inTrays, outTrays, {}, {}, duplexUnit, outputUnit}); \
  }
#define ORVX_CLASSIC_DUPLEX(name, printer, copier)                                                            \
  DWORD CPrnStaticInfo::GetOptionFlag_##name(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit) {       \
    return Run(orvx::picture::classic::name, *this, Lists{inTrays, outTrays, {}, {}, duplexUnit});           \
  }
#define ORVX_CLASSIC_FIXED(result, printer, copier)
#define ORVX_EXTENDED(name, printer, copier)                                                                 \
  DWORD CPrnStaticInfo::GetOptionFlagEx_##name(CPtrArray& inTrays, CPtrArray& outTrays,                      \
                                               CStringList& optionNames) {                                   \
    return Run(orvx::picture::extended::name, *this, Lists{inTrays, outTrays, optionNames});                \
  }
#define ORVX_EXTENDED_DOCS(name, printer, copier)                                                               \
  DWORD CPrnStaticInfo::GetOptionFlagEx_##name(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames, \
                                               CStringList& docOptionNames) {                                  \
    return Run(orvx::picture::extended::name, *this, Lists{inTrays, outTrays, optionNames, docOptionNames});     \
  }
#include "orvx/picture_rules.inc"
