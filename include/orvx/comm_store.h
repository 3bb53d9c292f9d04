// The COM configuration store with explicit sizes and the registry's status,
// under the exported ORVX_SaveCommCfg / ORVX_LoadCommCfg.
#pragma once

#include <span>

#include "orvx/comm_config.h"

namespace orvx {
// The largest configuration ORVX_LoadCommCfg reads back.
inline constexpr DWORD kCommConfigMax = 256;
// The same store with explicit sizes: the registry status of the write, or of
// the read of the value into `out` (ERROR_MORE_DATA when it does not fit, with
// `size` set to its length). `type`, when given, receives the stored type.
LONG SaveCommConfig(DWORD port, std::span<const BYTE> config);
LONG LoadCommConfig(DWORD port, std::span<BYTE> out, DWORD& size, DWORD* type = nullptr);
}  // namespace orvx
