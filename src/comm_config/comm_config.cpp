#include "orvx/comm_store.h"

#include <string>

#include "orvx/afx_host.h"
#include "orvx/afx_registry.h"

namespace {

std::string ValueName(DWORD port) { return "COM" + std::to_string((port >> 4) & 0xF); }

// Software\<registry key>\<application name>\Com, read from the host at each call.
std::string KeyPath() {
  const CWinApp app = orvx::host::AppNames();
  return "Software\\" + app.m_pszRegistryKey + "\\" + app.m_pszAppName + "\\Com";
}

}  // namespace

namespace orvx {

LONG SaveCommConfig(DWORD port, std::span<const BYTE> config) {
  HKEY key;
  LONG r = RegCreateKeyExA(HKEY_CURRENT_USER, KeyPath().c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                           nullptr, &key, nullptr);
  if (r != ERROR_SUCCESS) return r;
  r = RegSetValueExA(key, ValueName(port).c_str(), 0, REG_BINARY, config.data(), static_cast<DWORD>(config.size()));
  RegCloseKey(key);
  return r;
}

LONG LoadCommConfig(DWORD port, std::span<BYTE> out, DWORD& size, DWORD* type) {
  HKEY key;
  LONG r = RegOpenKeyExA(HKEY_CURRENT_USER, KeyPath().c_str(), 0, KEY_READ, &key);
  if (r != ERROR_SUCCESS) return r;
  size = static_cast<DWORD>(out.size());
  r = RegQueryValueExA(key, ValueName(port).c_str(), nullptr, type, out.data(), &size);
  RegCloseKey(key);
  return r;
}

}  // namespace orvx

int ORVX_SaveCommCfg(DWORD port, COMMCONFIG* config) {
  if (!config) return 0;
  return orvx::SaveCommConfig(port, {reinterpret_cast<const BYTE*>(config), config->dwSize}) == ERROR_SUCCESS ? 1 : 0;
}

int ORVX_LoadCommCfg(DWORD port, COMMCONFIG* config) {
  if (!config) return 0;
  DWORD size = 0;
  return orvx::LoadCommConfig(port, {reinterpret_cast<BYTE*>(config), orvx::kCommConfigMax}, size) == ERROR_SUCCESS
             ? 1
             : 0;
}
