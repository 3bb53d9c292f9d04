// A COM port's serial configuration, kept under the host's per-user key.
#pragma once

#include "orvx/afx_comm.h"
#include "orvx/export.h"

// The port number is bits 4 to 7 of `port`: the value is "COM<n>" below
// HKEY_CURRENT_USER\Software\<registry key>\<application name>\Com.
extern "C" ORVX_API int ORVX_SaveCommCfg(DWORD port, COMMCONFIG* config);
// Reads up to 256 bytes into `config`; 0 and `config` untouched when there is nothing.
extern "C" ORVX_API int ORVX_LoadCommCfg(DWORD port, COMMCONFIG* config);
