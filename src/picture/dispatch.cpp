// The four picture-ID entry points: tray-name normalisation, temporary trays
// for the name-list forms, and the choice of rule by vendor and model group.
#include <cstdint>
#include <memory>
#include <vector>

#include "orvx/picture.h"
#include "orvx/prn_static_info.h"
#include "rules.h"

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
template <std::size_t N>
const Route* Find(const Route (&table)[N], int vendor, int group) {
  if (vendor != 1 && vendor != 2) return nullptr;
  const Route* others = nullptr;
  for (const Route& r : table) {
    const std::uint64_t mask = vendor == 1 ? r.printer : r.copier;
    if (group >= 0 && group <= 62 && (mask >> group & 1)) return &r;
    if (mask >> 63) others = &r;
  }
  return others;
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

// Tray records made from name lists, owned here and deleted on every path out.
class TemporaryTrays {
 public:
  TemporaryTrays(const CStringList& inNames, const CStringList& outNames) {
    for (const CString& name : inNames) {
      ins_.push_back(std::make_unique<COptInTray>());
      ins_.back()->SetName(name);
      in.Add(ins_.back().get());
    }
    for (const CString& name : outNames) {
      outs_.push_back(std::make_unique<COptOutTray>());
      outs_.back()->SetName(name);
      out.Add(outs_.back().get());
    }
  }
  TemporaryTrays(const TemporaryTrays&) = delete;
  TemporaryTrays& operator=(const TemporaryTrays&) = delete;
  ~TemporaryTrays() {
    in.SetSize(0);
    out.SetSize(0);
  }

  CPtrArray in;
  CPtrArray out;

 private:
  std::vector<std::unique_ptr<COptInTray>> ins_;
  std::vector<std::unique_ptr<COptOutTray>> outs_;
};

}  // namespace
}  // namespace orvx::picture

using orvx::picture::Lists;
using orvx::picture::Run;

DWORD CPrnStaticInfo::GetPictureID(CStringList& inTrayNames, CStringList& outTrayNames, int duplexUnit,
                                   int outputUnit) {
  orvx::picture::TemporaryTrays trays(inTrayNames, outTrayNames);
  return GetPictureID(trays.in, trays.out, duplexUnit, outputUnit);
}

DWORD CPrnStaticInfo::GetPictureID(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit, int outputUnit) {
  const int vendor = GetVenderID();
  if (vendor == 1) orvx::picture::Normalise(inTrays, outTrays);  // the copier line keeps "Option" names
  const auto* route = orvx::picture::Find(orvx::picture::kClassic, vendor, GetModelGroupID());
  if (!route) return 0;
  if (!route->rule) return route->fixed;
  const bool duplexOnly = route->form == orvx::picture::Form::ClassicDuplex;
  return Run(*route->rule, *this, Lists{inTrays, outTrays, nullptr, nullptr, duplexUnit, duplexOnly ? 0 : outputUnit});
}

DWORD CPrnStaticInfo::GetPictureIDEx(CStringList& inTrayNames, CStringList& outTrayNames, CStringList& optionNames,
                                     CStringList& docOptionNames) {
  orvx::picture::TemporaryTrays trays(inTrayNames, outTrayNames);
  return GetPictureIDEx(trays.in, trays.out, optionNames, docOptionNames);
}

DWORD CPrnStaticInfo::GetPictureIDEx(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames,
                                     CStringList& docOptionNames) {
  orvx::picture::Normalise(inTrays, outTrays);
  const auto* route = orvx::picture::Find(orvx::picture::kExtended, GetVenderID(), GetModelGroupID());
  if (!route) return 0;
  const bool docs = route->form == orvx::picture::Form::ExtendedDocs;
  return Run(*route->rule, *this, Lists{inTrays, outTrays, &optionNames, docs ? &docOptionNames : nullptr});
}

orvx::PictureRoute orvx::ChoosePictureRule(int vendor, int group, bool extended) {
  const auto* r = extended ? picture::Find(picture::kExtended, vendor, group)
                           : picture::Find(picture::kClassic, vendor, group);
  return {r ? r->name : nullptr, r ? r->fixed : 0};
}

// The rule functions themselves, one per row of the list.
#define ORVX_CLASSIC(name, printer, copier)                                                               \
  DWORD CPrnStaticInfo::GetOptionFlag_##name(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit,     \
                                             int outputUnit) {                                            \
    return Run(orvx::picture::classic::name, *this,                                                       \
               Lists{inTrays, outTrays, nullptr, nullptr, duplexUnit, outputUnit});                       \
  }
#define ORVX_CLASSIC_DUPLEX(name, printer, copier)                                                            \
  DWORD CPrnStaticInfo::GetOptionFlag_##name(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit) {       \
    return Run(orvx::picture::classic::name, *this, Lists{inTrays, outTrays, nullptr, nullptr, duplexUnit}); \
  }
#define ORVX_CLASSIC_FIXED(result, printer, copier)
#define ORVX_EXTENDED(name, printer, copier)                                                                 \
  DWORD CPrnStaticInfo::GetOptionFlagEx_##name(CPtrArray& inTrays, CPtrArray& outTrays,                      \
                                               CStringList& optionNames) {                                   \
    return Run(orvx::picture::extended::name, *this, Lists{inTrays, outTrays, &optionNames});               \
  }
#define ORVX_EXTENDED_DOCS(name, printer, copier)                                                               \
  DWORD CPrnStaticInfo::GetOptionFlagEx_##name(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames, \
                                               CStringList& docOptionNames) {                                  \
    return Run(orvx::picture::extended::name, *this, Lists{inTrays, outTrays, &optionNames, &docOptionNames});   \
  }
#include "orvx/picture_rules.inc"
