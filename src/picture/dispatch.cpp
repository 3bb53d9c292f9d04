// The four picture-ID entry points: tray-name normalisation, temporary trays
// for the name-list forms, and the choice of rule by vendor and model group.
#include <memory>
#include <vector>

#include "orvx/picture.h"
#include "orvx/prn_static_info.h"

namespace orvx::picture {

template <class Rule>
struct Route {
  int vendor;
  int group;
  const char* name;
  Rule rule;    // null: no rule, the result is `fixed`
  DWORD fixed;
};

struct Dispatch {
  using Classic = DWORD (*)(CPrnStaticInfo&, CPtrArray&, CPtrArray&, int, int);
  using Extended = DWORD (*)(CPrnStaticInfo&, CPtrArray&, CPtrArray&, CStringList&, CStringList&);

#define ORVX_CLASSIC(v, g, fn) \
  {v, g, #fn, [](CPrnStaticInfo& r, CPtrArray& i, CPtrArray& o, int d, int u) { return r.fn(i, o, d, u); }, 0}
#define ORVX_CLASSIC_DUPLEX_ONLY(v, g, fn) \
  {v, g, #fn, [](CPrnStaticInfo& r, CPtrArray& i, CPtrArray& o, int d, int) { return r.fn(i, o, d); }, 0}
#define ORVX_ONE_LIST(v, g, fn) \
  {v, g, #fn, [](CPrnStaticInfo& r, CPtrArray& i, CPtrArray& o, CStringList& n, CStringList&) { return r.fn(i, o, n); }, 0}
#define ORVX_TWO_LISTS(v, g, fn)                                                                      \
  {v, g, #fn, [](CPrnStaticInfo& r, CPtrArray& i, CPtrArray& o, CStringList& n, CStringList& d) { \
     return r.fn(i, o, n, d);                                                                         \
   }, 0}

  static constexpr Route<Classic> kClassic[] = {
      // printer line
      ORVX_CLASSIC(1, 1, GetOptionFlag_Jacana),
      ORVX_CLASSIC(1, 2, GetOptionFlag_Crake),
      ORVX_CLASSIC(1, 3, GetOptionFlag_Finch),
      ORVX_CLASSIC(1, 4, GetOptionFlag_Finch),
      ORVX_CLASSIC(1, 5, GetOptionFlag_Vireo),
      ORVX_CLASSIC(1, 6, GetOptionFlag_Fulmar),
      ORVX_CLASSIC(1, 7, GetOptionFlag_Fulmar),
      ORVX_CLASSIC(1, 8, GetOptionFlag_Egret),
      ORVX_CLASSIC(1, 9, GetOptionFlag_Egret),
      ORVX_CLASSIC(1, 10, GetOptionFlag_Mallard),
      ORVX_CLASSIC(1, 11, GetOptionFlag_Fulmar),
      ORVX_CLASSIC(1, 12, GetOptionFlag_Dipper),
      ORVX_CLASSIC(1, 13, GetOptionFlag_Curlew),
      ORVX_CLASSIC(1, 14, GetOptionFlag_Fulmar),
      ORVX_CLASSIC(1, 15, GetOptionFlag_Grebe),
      ORVX_CLASSIC_DUPLEX_ONLY(1, 16, GetOptionFlag_Heron),
      ORVX_CLASSIC(1, 17, GetOptionFlag_Dipper),
      // copier line
      ORVX_CLASSIC(2, 1, GetOptionFlag_Bunting),
      ORVX_CLASSIC(2, 2, GetOptionFlag_Ibis),
      ORVX_CLASSIC(2, 3, GetOptionFlag_Ibis),
      ORVX_CLASSIC(2, 4, GetOptionFlag_Tern),
      {2, 5, nullptr, nullptr, 0x800},
      ORVX_CLASSIC(2, 6, GetOptionFlag_Redshank),
      ORVX_CLASSIC(2, 7, GetOptionFlag_Redshank),
      ORVX_CLASSIC(2, 8, GetOptionFlag_Redshank),
      ORVX_CLASSIC(2, 9, GetOptionFlag_Quail),
      ORVX_CLASSIC(2, 10, GetOptionFlag_Bittern),
      {2, 11, nullptr, nullptr, 0x800},
      {2, 12, nullptr, nullptr, 0x800},
      ORVX_CLASSIC(2, 13, GetOptionFlag_Avocet),
      ORVX_CLASSIC_DUPLEX_ONLY(2, 14, GetOptionFlag_Auklet),
      ORVX_CLASSIC(2, 15, GetOptionFlag_Quail),
  };

  static constexpr Route<Extended> kExtended[] = {
      // printer line; every group not listed takes Nightjar
      ORVX_ONE_LIST(1, 16, GetOptionFlagEx_Heron),
      ORVX_TWO_LISTS(1, 18, GetOptionFlagEx_Plover),
      ORVX_ONE_LIST(1, 19, GetOptionFlagEx_Dunlin),
      ORVX_TWO_LISTS(1, 20, GetOptionFlagEx_Kestrel),
      ORVX_ONE_LIST(1, 22, GetOptionFlagEx_Wren),
      ORVX_ONE_LIST(1, 23, GetOptionFlagEx_Dunlin),
      ORVX_TWO_LISTS(1, 28, GetOptionFlagEx_Eider),
      ORVX_TWO_LISTS(1, 29, GetOptionFlagEx_Eider),
      ORVX_ONE_LIST(1, 31, GetOptionFlagEx_Yellowlegs),
      ORVX_ONE_LIST(1, 32, GetOptionFlagEx_Yellowlegs),
      ORVX_ONE_LIST(1, 36, GetOptionFlagEx_Yellowlegs),
      // copier line; every group not listed gives 0
      ORVX_ONE_LIST(2, 14, GetOptionFlagEx_Auklet),
      ORVX_TWO_LISTS(2, 16, GetOptionFlagEx_Plover),
      ORVX_TWO_LISTS(2, 17, GetOptionFlagEx_Osprey),
      ORVX_ONE_LIST(2, 18, GetOptionFlagEx_Dunlin),
      ORVX_TWO_LISTS(2, 19, GetOptionFlagEx_Wagtail),
      ORVX_TWO_LISTS(2, 20, GetOptionFlagEx_Gannet),
      ORVX_ONE_LIST(2, 21, GetOptionFlagEx_Dunlin),
      ORVX_TWO_LISTS(2, 22, GetOptionFlagEx_Osprey),
      ORVX_TWO_LISTS(2, 23, GetOptionFlagEx_Wagtail),
      ORVX_ONE_LIST(2, 24, GetOptionFlagEx_Dunlin),
      ORVX_TWO_LISTS(2, 25, GetOptionFlagEx_Eider),
      ORVX_TWO_LISTS(2, 26, GetOptionFlagEx_Shrike),
      ORVX_TWO_LISTS(2, 27, GetOptionFlagEx_Shrike),
      ORVX_TWO_LISTS(2, 28, GetOptionFlagEx_Eider),
      ORVX_TWO_LISTS(2, 29, GetOptionFlagEx_Lapwing),
      ORVX_TWO_LISTS(2, 32, GetOptionFlagEx_Gannet),
  };
  static constexpr Route<Extended> kNightjar = ORVX_ONE_LIST(1, -1, GetOptionFlagEx_Nightjar);

#undef ORVX_CLASSIC
#undef ORVX_CLASSIC_DUPLEX_ONLY
#undef ORVX_ONE_LIST
#undef ORVX_TWO_LISTS

  template <class Rule, std::size_t N>
  static const Route<Rule>* Find(const Route<Rule> (&table)[N], int vendor, int group) {
    for (const auto& r : table)
      if (r.vendor == vendor && r.group == group) return &r;
    return nullptr;
  }

  static const Route<Classic>* ClassicRoute(int vendor, int group) { return Find(kClassic, vendor, group); }

  static const Route<Extended>* ExtendedRoute(int vendor, int group) {
    const auto* r = Find(kExtended, vendor, group);
    return r ? r : vendor == 1 ? &kNightjar : nullptr;
  }
};

namespace {

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

using orvx::picture::Dispatch;

DWORD CPrnStaticInfo::GetPictureID(CStringList& inTrayNames, CStringList& outTrayNames, int duplexUnit,
                                   int outputUnit) {
  orvx::picture::TemporaryTrays trays(inTrayNames, outTrayNames);
  return GetPictureID(trays.in, trays.out, duplexUnit, outputUnit);
}

DWORD CPrnStaticInfo::GetPictureID(CPtrArray& inTrays, CPtrArray& outTrays, int duplexUnit, int outputUnit) {
  const int vendor = GetVenderID();
  if (vendor != 1 && vendor != 2) return 0;
  if (vendor == 1) orvx::picture::Normalise(inTrays, outTrays);  // the copier line keeps "Option" names
  const auto* route = Dispatch::ClassicRoute(vendor, GetModelGroupID());
  if (!route) return 0;
  return route->rule ? route->rule(*this, inTrays, outTrays, duplexUnit, outputUnit) : route->fixed;
}

DWORD CPrnStaticInfo::GetPictureIDEx(CStringList& inTrayNames, CStringList& outTrayNames, CStringList& optionNames,
                                     CStringList& docOptionNames) {
  orvx::picture::TemporaryTrays trays(inTrayNames, outTrayNames);
  return GetPictureIDEx(trays.in, trays.out, optionNames, docOptionNames);
}

DWORD CPrnStaticInfo::GetPictureIDEx(CPtrArray& inTrays, CPtrArray& outTrays, CStringList& optionNames,
                                     CStringList& docOptionNames) {
  orvx::picture::Normalise(inTrays, outTrays);
  const auto* route = Dispatch::ExtendedRoute(GetVenderID(), GetModelGroupID());
  return route ? route->rule(*this, inTrays, outTrays, optionNames, docOptionNames) : 0;
}

orvx::PictureRoute orvx::ChoosePictureRule(int vendor, int group, bool extended) {
  if (extended) {
    const auto* r = Dispatch::ExtendedRoute(vendor, group);
    return {r ? r->name : nullptr, 0};
  }
  const auto* r = Dispatch::ClassicRoute(vendor, group);
  return {r ? r->name : nullptr, r ? r->fixed : 0};
}
