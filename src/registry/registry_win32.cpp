// The registry calls with a reason, over the platform's own registry.
#include "registry/reg_store.h"
#include "registry/win32_refusal.h"

namespace orvx::registry {

static_assert(win32::kNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY && win32::kOutOfMemory == ERROR_OUTOFMEMORY);
using win32::Outcome;

Status OpenKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result) {
  return Outcome(RegOpenKeyExA(key, subKey, 0, sam, &result), subKey);
}

Status CreateKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result, DWORD* disposition) {
  return Outcome(RegCreateKeyExA(key, subKey, 0, nullptr, REG_OPTION_NON_VOLATILE, sam, nullptr, &result, disposition),
                 subKey);
}

Status QueryValue(HKEY key, const char* name, DWORD* type, BYTE* data, DWORD* length) {
  return Outcome(RegQueryValueExA(key, name, nullptr, type, data, length), nullptr, name ? name : "");
}

Status SetValue(HKEY key, const char* name, DWORD type, const BYTE* data, DWORD length) {
  return Outcome(RegSetValueExA(key, name, 0, type, data, length), nullptr, name ? name : "");
}

}  // namespace orvx::registry
