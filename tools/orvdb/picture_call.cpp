#include "picture_call.h"

#include "orvx/afx_host.h"

namespace orvdb {

PictureResult CallPicture(CPrnStaticInfo& record, const PictureRequest& r) {
  orvx::host::ClearStringResources();
  for (const auto& [id, text] : r.strings) orvx::host::SetStringResource(id, text);

  CStringList options, docOptions;
  for (const auto& n : r.options) options.AddTail(n);
  for (const auto& n : r.docOptions) docOptions.AddTail(n);
  PictureResult result;

  if (r.byNames) {
    CStringList in, out;
    for (const auto& t : r.in) in.AddTail(t.name);
    for (const auto& t : r.out) out.AddTail(t.name);
    result.pictureId = r.extended ? record.GetPictureIDEx(in, out, options, docOptions)
                                  : record.GetPictureID(in, out, r.duplexUnit, r.outputUnit);
  } else {
    std::vector<std::unique_ptr<COptInTray>> ins;
    std::vector<std::unique_ptr<COptOutTray>> outs;
    CPtrArray in, out;
    for (const auto& t : r.in) {
      auto& tray = ins.emplace_back(std::make_unique<COptInTray>());
      tray->SetName(t.name.c_str());
      tray->SetID(t.id);
      tray->SetAddUnit(t.addUnit);
      in.Add(tray.get());
    }
    for (const auto& t : r.out) {
      auto& tray = outs.emplace_back(std::make_unique<COptOutTray>());
      tray->SetName(t.name.c_str());
      tray->SetID(t.id);
      tray->SetAddUnit(t.addUnit);
      tray->SetDerivery(t.derivery);
      out.Add(tray.get());
    }
    result.pictureId = r.extended ? record.GetPictureIDEx(in, out, options, docOptions)
                                  : record.GetPictureID(in, out, r.duplexUnit, r.outputUnit);
    for (const auto& t : ins) result.in.push_back({t->GetName().str(), t->GetID()});
    for (const auto& t : outs) result.out.push_back({t->GetName().str(), t->GetID()});
  }
  orvx::host::ClearStringResources();
  return result;
}

}  // namespace orvdb
