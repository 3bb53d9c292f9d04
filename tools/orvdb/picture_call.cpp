#include "picture_call.h"

#include "orvx/afx_host.h"

namespace orvdb {

namespace {
template <typename T>
T& Next(std::vector<T>& items, std::size_t& count) {
  if (count == items.size()) items.emplace_back();
  return items[count++];
}

// A reused tray keeps its name's storage; the rest starts over.
TrayInput& Fresh(TrayInput& t) {
  t.name.clear();
  t.id = -1;
  t.addUnit = 0;
  t.derivery = 2;
  return t;
}
}  // namespace

void PictureRequest::Clear() {
  extended = true;
  byNames = false;
  inCount = outCount = optionCount = docOptionCount = 0;
  duplexUnit = outputUnit = 0;
  strings.clear();
}

TrayInput& PictureRequest::AddIn() { return Fresh(Next(in, inCount)); }
TrayInput& PictureRequest::AddOut() { return Fresh(Next(out, outCount)); }
std::string& PictureRequest::AddOption() { return Next(options, optionCount).erase(); }
std::string& PictureRequest::AddDocOption() { return Next(docOptions, docOptionCount).erase(); }

DWORD PictureCaller::Call(CPrnStaticInfo& record, const PictureRequest& r) {
  const bool strings = !r.strings.empty();
  if (strings) {
    orvx::host::ClearStringResources();
    for (const auto& [id, text] : r.strings) orvx::host::SetStringResource(id, text);
  }
  const auto fill = [](CStringList& list, const std::vector<std::string>& names, std::size_t count) {
    list.RemoveAll();
    for (std::size_t i = 0; i < count; ++i) list.AddTail(names[i]);
  };
  fill(options_, r.options, r.optionCount);
  fill(docOptions_, r.docOptions, r.docOptionCount);

  DWORD id;
  if (r.byNames) {
    inNames_.RemoveAll();
    outNames_.RemoveAll();
    for (std::size_t i = 0; i < r.inCount; ++i) inNames_.AddTail(r.in[i].name);
    for (std::size_t i = 0; i < r.outCount; ++i) outNames_.AddTail(r.out[i].name);
    id = r.extended ? record.GetPictureIDEx(inNames_, outNames_, options_, docOptions_)
                    : record.GetPictureID(inNames_, outNames_, r.duplexUnit, r.outputUnit);
  } else {
    // The rules change a tray's name and ID only; the other fields keep a
    // new record's values from call to call.
    while (ins_.size() < r.inCount) ins_.push_back(std::make_unique<COptInTray>());
    while (outs_.size() < r.outCount) outs_.push_back(std::make_unique<COptOutTray>());
    // Resized only when the count changes: emptying a pointer array frees its storage.
    if (in_.GetSize() != static_cast<int>(r.inCount)) in_.SetSize(static_cast<int>(r.inCount));
    if (out_.GetSize() != static_cast<int>(r.outCount)) out_.SetSize(static_cast<int>(r.outCount));
    for (std::size_t i = 0; i < r.inCount; ++i) {
      COptInTray& t = *ins_[i];
      t.SetName(r.in[i].name.c_str());
      t.SetID(r.in[i].id);
      t.SetAddUnit(r.in[i].addUnit);
      in_.SetAtGrow(static_cast<int>(i), &t);
    }
    for (std::size_t i = 0; i < r.outCount; ++i) {
      COptOutTray& t = *outs_[i];
      t.SetName(r.out[i].name.c_str());
      t.SetID(r.out[i].id);
      t.SetAddUnit(r.out[i].addUnit);
      t.SetDerivery(r.out[i].derivery);
      out_.SetAtGrow(static_cast<int>(i), &t);
    }
    id = r.extended ? record.GetPictureIDEx(in_, out_, options_, docOptions_)
                    : record.GetPictureID(in_, out_, r.duplexUnit, r.outputUnit);
  }
  if (strings) orvx::host::ClearStringResources();
  return id;
}

}  // namespace orvdb
