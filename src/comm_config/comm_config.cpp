#include "orvx/comm_store.h"

#include <string>

#include "orvx/afx_host.h"
#include "orvx/afx_registry.h"
#include "registry/reg_store.h"

namespace {

// Software\<registry key>\<application name>\Com, read from the host at each call.
std::string KeyPath() {
  const CWinApp app = orvx::host::AppNames();
  return "Software\\" + app.m_pszRegistryKey + "\\" + app.m_pszAppName + "\\Com";
}

const char* TypeName(DWORD type) {
  switch (type) {
    case REG_NONE: return "REG_NONE";
    case REG_SZ: return "REG_SZ";
    case REG_EXPAND_SZ: return "REG_EXPAND_SZ";
    case REG_BINARY: return "REG_BINARY";
    case REG_DWORD: return "REG_DWORD";
    case REG_MULTI_SZ: return "REG_MULTI_SZ";
    default: return "another type";
  }
}

}  // namespace

namespace orvx {

std::string CommValueName(DWORD port) { return "COM" + std::to_string((port >> 4) & 0xF); }

Status SaveCommConfig(DWORD port, std::span<const BYTE> config) {
  const std::string value = CommValueName(port);
  HKEY key;
  Status e = registry::CreateKey(HKEY_CURRENT_USER, KeyPath().c_str(), KEY_WRITE, key);
  if (!e.Failed()) {
    e = registry::SetValue(key, value.c_str(), REG_BINARY, config.data(), static_cast<DWORD>(config.size()));
    RegCloseKey(key);
  }
  if (e.Failed()) e.message = "cannot store " + value + ": " + e.message;
  return e;
}

Status LoadCommConfig(DWORD port, std::span<BYTE> out, DWORD& size, DWORD* type) {
  const std::string value = CommValueName(port);
  HKEY key;
  Status e = registry::OpenKey(HKEY_CURRENT_USER, KeyPath().c_str(), KEY_READ, key);
  if (!e.Failed()) {
    size = static_cast<DWORD>(out.size());
    e = registry::QueryValue(key, value.c_str(), type, out.data(), &size);
    RegCloseKey(key);
  }
  switch (e.code) {
    case Status::None: break;
    case Status::NotFound: e.message = "no configuration stored for " + value; break;
    case Status::ValueTooLarge:
      e.message = value + " holds " + std::to_string(size) + " bytes, too large to load (at most " +
                  std::to_string(out.size()) + ")";
      break;
    default: e.message = "cannot read " + value + ": " + e.message; break;
  }
  return e;
}

Result<std::vector<BYTE>> ReadCommConfig(DWORD port) {
  std::vector<BYTE> bytes(kCommConfigMax);
  DWORD size = 0, type = REG_NONE;
  if (Status e = LoadCommConfig(port, bytes, size, &type); e.Failed()) return e;
  const std::string value = CommValueName(port);
  if (type != REG_BINARY)
    return Status{Status::WrongType, value + " holds a value of type " + TypeName(type) + " (" + std::to_string(type) +
                                         "), not a configuration (REG_BINARY)"};
  if (size == 0) return Status{Status::EmptyValue, value + " holds an empty value, no configuration"};
  bytes.resize(size);
  return bytes;
}

}  // namespace orvx

int ORVX_SaveCommCfg(DWORD port, COMMCONFIG* config) {
  if (!config) return 0;
  return orvx::SaveCommConfig(port, {reinterpret_cast<const BYTE*>(config), config->dwSize}).Failed() ? 0 : 1;
}

int ORVX_LoadCommCfg(DWORD port, COMMCONFIG* config) {
  if (!config) return 0;
  DWORD size = 0;
  return orvx::LoadCommConfig(port, {reinterpret_cast<BYTE*>(config), orvx::kCommConfigMax}, size).Failed() ? 0 : 1;
}
