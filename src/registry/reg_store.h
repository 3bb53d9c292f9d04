// The registry calls with the reason of a failure, for the stores kept in the
// registry. A failure's `osError` is the LONG the Win32-style call returns
// for it, so that those calls are these with ToLong at their edge; its code
// and message say why (a malformed store file, with its line, where the
// host's call only sees ERROR_FILE_NOT_FOUND).
#pragma once

#include "orvx/afx_registry.h"
#include "orvx/status.h"

namespace orvx::registry {

Status OpenKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result);
Status CreateKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result, DWORD* disposition = nullptr);
// `length` holds the room at `data` and receives the value's length, also
// when the value does not fit (ValueTooLarge, nothing copied).
Status QueryValue(HKEY key, const char* name, DWORD* type, BYTE* data, DWORD* length);
Status SetValue(HKEY key, const char* name, DWORD type, const BYTE* data, DWORD length);

// What a Win32-style registry call returns for `status`.
inline LONG ToLong(const Status& status) { return status.Failed() ? static_cast<LONG>(status.osError) : ERROR_SUCCESS; }

}  // namespace orvx::registry
