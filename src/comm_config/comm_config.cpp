#include "orvx/comm_config.h"

#include <string>

#include "orvx/afx_host.h"
#include "orvx/afx_registry.h"

namespace {

std::string ValueName(DWORD port) { return "COM" + std::to_string((port >> 4) & 0xF); }

// Software\<registry key>\<application name>\Com, read from the host at each call.
std::string KeyPath() {
  const CWinApp* app = AfxGetApp();
  return "Software\\" + app->m_pszRegistryKey + "\\" + app->m_pszAppName + "\\Com";
}

}  // namespace

int ORVX_SaveCommCfg(DWORD port, COMMCONFIG* config) {
  if (!config) return 0;
  HKEY key;
  if (RegCreateKeyExA(HKEY_CURRENT_USER, KeyPath().c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr,
                      &key, nullptr) != ERROR_SUCCESS)
    return 0;
  const LONG r = RegSetValueExA(key, ValueName(port).c_str(), 0, REG_BINARY, reinterpret_cast<const BYTE*>(config),
                                config->dwSize);
  RegCloseKey(key);
  return r == ERROR_SUCCESS ? 1 : 0;
}

int ORVX_LoadCommCfg(DWORD port, COMMCONFIG* config) {
  if (!config) return 0;
  HKEY key;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, KeyPath().c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return 0;
  DWORD size = 256;
  const LONG r = RegQueryValueExA(key, ValueName(port).c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(config), &size);
  RegCloseKey(key);
  return r == ERROR_SUCCESS ? 1 : 0;
}
