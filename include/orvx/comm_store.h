// The COM configuration store with explicit sizes and the reason of a
// failure, under the exported ORVX_SaveCommCfg / ORVX_LoadCommCfg.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "orvx/comm_config.h"
#include "orvx/export.h"
#include "orvx/status.h"

namespace orvx {
// The largest configuration ORVX_LoadCommCfg reads back.
inline constexpr DWORD kCommConfigMax = 256;
// "COM<n>": the value a port descriptor names.
ORVX_API std::string CommValueName(DWORD port);
// Stores `config` as that value of the host's key, which is made when missing.
ORVX_API Status SaveCommConfig(DWORD port, std::span<const BYTE> config);
// Reads the value into `out`, whatever its type and length: `size` receives
// its length, also when it does not fit (ValueTooLarge, nothing copied), and
// `type`, when given, its type. NotFound when neither key nor value is there.
ORVX_API Status LoadCommConfig(DWORD port, std::span<BYTE> out, DWORD& size, DWORD* type = nullptr);
// The configuration stored for `port`, checked as one: a binary value
// (else WrongType) of 1 (else EmptyValue) to kCommConfigMax bytes (else
// ValueTooLarge); NotFound when none is stored.
ORVX_API Result<std::vector<BYTE>> ReadCommConfig(DWORD port);
}  // namespace orvx
