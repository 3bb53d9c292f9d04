// Without a windowing system the message goes to standard error, and a host
// program has no resources of its own: its strings come from its table.
#include <cstdio>

#include "os/os_host.h"

namespace orvx::os {

int ShowMessageBox(std::string_view text, unsigned, const std::string&) {
  std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
  return 1;  // OK
}

bool LoadModuleString(unsigned, std::string&) { return false; }

}  // namespace orvx::os
