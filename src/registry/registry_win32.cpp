// The registry calls with a reason, over the platform's own registry: its
// result code is all it says, so the reason is that code in words.
#include <string>

#include "registry/reg_store.h"

namespace orvx::registry {
namespace {

Status::Code CodeOf(LONG result) {
  switch (result) {
    case ERROR_FILE_NOT_FOUND: return Status::NotFound;
    case ERROR_MORE_DATA: return Status::ValueTooLarge;
    case ERROR_INVALID_PARAMETER:
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_HANDLE: return Status::Argument;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: return Status::Memory;
    case ERROR_REGISTRY_CORRUPT: return Status::BadStore;
    default: return Status::Registry;
  }
}

// `subKey`, or the value `name` of the open key, failed with `result`.
Status Refused(LONG result, const char* subKey, const char* name = nullptr) {
  const Status::Code code = CodeOf(result);
  std::string what = subKey ? std::string(subKey) + ": " : std::string();
  if (name) what += *name ? "the value \"" + std::string(name) + "\": " : std::string("the default value: ");
  return {code, what + StatusName(code) + " (error " + std::to_string(result) + ")", static_cast<int>(result)};
}

}  // namespace

Status OpenKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result) {
  const LONG r = RegOpenKeyExA(key, subKey, 0, sam, &result);
  return r == ERROR_SUCCESS ? Status{} : Refused(r, subKey);
}

Status CreateKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result, DWORD* disposition) {
  const LONG r = RegCreateKeyExA(key, subKey, 0, nullptr, REG_OPTION_NON_VOLATILE, sam, nullptr, &result, disposition);
  return r == ERROR_SUCCESS ? Status{} : Refused(r, subKey);
}

Status QueryValue(HKEY key, const char* name, DWORD* type, BYTE* data, DWORD* length) {
  const LONG r = RegQueryValueExA(key, name, nullptr, type, data, length);
  return r == ERROR_SUCCESS ? Status{} : Refused(r, nullptr, name ? name : "");
}

Status SetValue(HKEY key, const char* name, DWORD type, const BYTE* data, DWORD length) {
  const LONG r = RegSetValueExA(key, name, 0, type, data, length);
  return r == ERROR_SUCCESS ? Status{} : Refused(r, nullptr, name ? name : "");
}

}  // namespace orvx::registry
