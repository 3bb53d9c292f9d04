// A COM port's serial configuration, kept under the host's per-user key.
#pragma once

#include <span>

#include "orvx/afx_comm.h"
#include "orvx/export.h"

// The port number is bits 4 to 7 of `port`: the value is "COM<n>" below
// HKEY_CURRENT_USER\Software\<registry key>\<application name>\Com.
extern "C" ORVX_API int ORVX_SaveCommCfg(DWORD port, COMMCONFIG* config);
// Reads up to 256 bytes into `config`; 0 and `config` untouched when there is nothing.
extern "C" ORVX_API int ORVX_LoadCommCfg(DWORD port, COMMCONFIG* config);

namespace orvx {
// The largest configuration ORVX_LoadCommCfg reads back.
inline constexpr DWORD kCommConfigMax = 256;
// The same store with explicit sizes: the registry status of the write, or of
// the read of the value into `out` (ERROR_MORE_DATA when it does not fit, with
// `size` set to its length). `type`, when given, receives the stored type.
ORVX_API LONG SaveCommConfig(DWORD port, std::span<const BYTE> config);
ORVX_API LONG LoadCommConfig(DWORD port, std::span<BYTE> out, DWORD& size, DWORD* type = nullptr);
}  // namespace orvx
