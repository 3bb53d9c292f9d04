// The registry, the OS version query and a few kernel helpers, with the
// platform's signatures and result codes. On Windows they are the platform's
// own; elsewhere the registry is a store of one text file per hive, in the
// registry editor's export format.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "orvx/afx_types.h"
#include "orvx/export.h"

#if !defined(_WIN32)
// On Windows all of this is the platform's own, from <windows.h>.
struct HKEY__;
using HKEY = HKEY__*;
using REGSAM = DWORD;
using PHKEY = HKEY*;

inline HKEY const HKEY_CURRENT_USER = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u));
inline HKEY const HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000002u));

constexpr LONG ERROR_SUCCESS = 0;
constexpr LONG ERROR_FILE_NOT_FOUND = 2;
constexpr LONG ERROR_ACCESS_DENIED = 5;
constexpr LONG ERROR_INVALID_HANDLE = 6;
constexpr LONG ERROR_INVALID_PARAMETER = 87;
constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
constexpr LONG ERROR_INVALID_NAME = 123;  // a name the store file cannot hold (a line break, a control character)
constexpr LONG ERROR_MORE_DATA = 234;
constexpr LONG ERROR_NO_MORE_ITEMS = 259;
constexpr LONG ERROR_REGISTRY_CORRUPT = 1015;
constexpr LONG ERROR_REGISTRY_IO_FAILED = 1016;

constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_MULTI_SZ = 7;

constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

extern "C" {
ORVX_API LONG RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, REGSAM sam, PHKEY result);
ORVX_API LONG RegCreateKeyExA(HKEY key, const char* subKey, DWORD reserved, char* keyClass, DWORD options, REGSAM sam,
                              void* security, PHKEY result, DWORD* disposition);
// `nameLength` holds the name buffer's size in characters, the terminating
// zero included; on success it becomes the name's length without it.
ORVX_API LONG RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD* reserved, DWORD* type,
                            BYTE* data, DWORD* dataLength);
// A buffer smaller than the data gives ERROR_MORE_DATA and is left as it was.
ORVX_API LONG RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data,
                               DWORD* dataLength);
ORVX_API LONG RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type, const BYTE* data, DWORD length);
ORVX_API LONG RegCloseKey(HKEY key);
}

// ---- OS version and kernel helpers -------------------------------------------------
constexpr DWORD VER_PLATFORM_WIN32s = 0;
constexpr DWORD VER_PLATFORM_WIN32_WINDOWS = 1;
constexpr DWORD VER_PLATFORM_WIN32_NT = 2;

struct OSVERSIONINFOA {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  char szCSDVersion[128];
};
static_assert(sizeof(OSVERSIONINFOA) == 148);

extern "C" {
// Fails (0, last error ERROR_INSUFFICIENT_BUFFER) unless dwOSVersionInfoSize is
// 148 or, for the extended record, 156.
ORVX_API BOOL GetVersionExA(OSVERSIONINFOA* info);
ORVX_API DWORD GetLastError();
ORVX_API void SetLastError(DWORD error);
ORVX_API int lstrlenA(const char* text);  // 0 for a null pointer
}
#endif

#if !defined(_WIN32)
namespace orvx::host {
// The platform ID that GetVersionExA reports on POSIX: VER_PLATFORM_WIN32_NT
// (2) unless the host sets another.
ORVX_API void SetPlatformId(DWORD id);
// Where the store file of a hive lives. Empty: the environment variable
// ORVX_HKLM_FILE / ORVX_HKCU_FILE, else /etc/orvx/hklm.reg for the machine
// hive and $XDG_CONFIG_HOME/orvx/hkcu.reg (~/.config/orvx/hkcu.reg) for the
// user hive.
ORVX_API void SetRegistryFile(HKEY hive, std::string_view path);
ORVX_API std::string RegistryFile(HKEY hive);
}  // namespace orvx::host
#endif
