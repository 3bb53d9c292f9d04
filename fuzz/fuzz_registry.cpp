// The registry store parser and writer: whatever parses must write out as
// text that parses to the same keys and values, and writing is stable.
#include <cstdlib>

#include "registry/reg_document.h"

namespace {

using orvx::registry::Document;

bool SameContent(const Document& a, const Document& b) {
  if (a.keys.size() != b.keys.size()) return false;
  for (std::size_t k = 0; k < a.keys.size(); ++k) {
    if (a.keys[k].path != b.keys[k].path) return false;
    std::vector<const orvx::registry::Value*> va, vb;
    for (const auto& i : a.keys[k].items)
      if (i.isValue) va.push_back(&i.value);
    for (const auto& i : b.keys[k].items)
      if (i.isValue) vb.push_back(&i.value);
    if (va.size() != vb.size()) return false;
    for (std::size_t v = 0; v < va.size(); ++v)
      if (va[v]->name != vb[v]->name || va[v]->type != vb[v]->type || va[v]->data != vb[v]->data) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Document doc;
  if (const orvx::Status error = orvx::registry::Parse(std::string_view(reinterpret_cast<const char*>(data), size), doc);
      error.Failed()) {
    if (error.where < 1) abort();
    return 0;
  }
  std::string text;
  // A UTF-16 file whose text is no longer UTF-8: the write is refused.
  if (orvx::registry::Serialize(doc, text).Failed()) return 0;
  Document reread;
  if (orvx::registry::Parse(text, reread).Failed() || !SameContent(doc, reread)) abort();
  std::string second;
  if (orvx::registry::Serialize(reread, second).Failed() || second != text) abort();

  // Changing a value keeps every other one.
  Document changed = doc;
  if (!changed.keys.empty()) {
    orvx::registry::SetValue(changed.keys.front(), {"fuzz", REG_BINARY, {1, 2, 3}});
    if (std::string out; !orvx::registry::Serialize(changed, out).Failed()) {
      Document back;
      if (orvx::registry::Parse(out, back).Failed() || !SameContent(changed, back)) abort();
    }
  }
  return 0;
}
