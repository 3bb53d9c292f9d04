// The platform's message box, and string resources of the host program (the
// process's main module).
#include <windows.h>

#include "os/os_host.h"

namespace orvx::os {

int ShowMessageBox(std::string_view text, unsigned type, const std::string& caption) {
  const std::string message(text);
  // Without a desktop (a service, a headless test run) the box cannot be shown
  // and the call returns at once.
  return ::MessageBoxA(nullptr, message.c_str(), caption.c_str(), type);
}

bool LoadModuleString(unsigned id, std::string& text) {
  // A string resource holds at most 4095 characters after conversion.
  char buffer[4096];
  const int n = ::LoadStringA(::GetModuleHandleA(nullptr), id, buffer, sizeof buffer);
  if (n <= 0) return false;
  text.assign(buffer, static_cast<std::size_t>(n));
  return true;
}

}  // namespace orvx::os
