// Without a windowing system the message goes to standard error, and a host
// program has no resources of its own: its strings come from its table.
#include <cstdio>

#include "orvx/afx_host.h"
#include "os/os_host.h"

namespace orvx::os {

int ShowMessageBox(std::string_view text, UINT, const std::string&) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
  return IDOK;
}

bool LoadModuleString(UINT, std::string&) { return false; }

}  // namespace orvx::os
