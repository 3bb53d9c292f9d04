#include "picture_call.h"


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

DWORD PictureCaller::Call(const CPrnStaticInfo& record, const PictureRequest& r, orvx::PictureTrace* trace) {
  const auto trays = [&](std::vector<orvx::PictureTray>& into, const std::vector<TrayInput>& from, std::size_t n) {
    into.clear();
    for (std::size_t i = 0; i < n; ++i)  // the name-list form: trays that carry nothing but a name
      into.push_back(r.byNames ? orvx::PictureTray{from[i].name}
                               : orvx::PictureTray{from[i].name, from[i].id, from[i].addUnit, from[i].derivery});
  };
  trays(in_, r.in, r.inCount);
  trays(out_, r.out, r.outCount);
  options_.assign(r.options.begin(), r.options.begin() + static_cast<std::ptrdiff_t>(r.optionCount));
  docOptions_.assign(r.docOptions.begin(), r.docOptions.begin() + static_cast<std::ptrdiff_t>(r.docOptionCount));
  orvx::PictureCall call{r.extended, in_, out_, r.duplexUnit, r.outputUnit, options_, docOptions_, {}, {}};
  if (const auto s = r.strings.find(9481); s != r.strings.end()) call.manualTrayName = s->second;
  if (const auto s = r.strings.find(9482); s != r.strings.end()) call.defaultTrayName = s->second;
  return caller_.Call(record, call, trace);
}

}  // namespace orvdb
