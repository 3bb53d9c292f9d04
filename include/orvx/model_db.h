// The process-wide model array, its maintenance operations, the lookup by
// model name, and the library entry that loads ORVDB.dat.
#pragma once

#include "orvx/afx_coll.h"
#include "orvx/afx_file.h"
#include "orvx/export.h"
#include "orvx/prn_static_info.h"

// Every loaded record, in file order; element 0 is the default model.
// The array owns the records.
extern ORVX_API CPtrArray CPrnStaticInfoArray;

// The record whose model name matches `modelName` (exact pass, "hp" fix,
// substring pass), element 0 when none does, null when the array is empty.
ORVX_API CPrnStaticInfo* GetPointerToCPrnStaticInfo(const char* modelName);
// Deletes every record and empties the array.
ORVX_API void CPrnStaticInfoArray_RemoveAll();
// Stores the whole array, or loads records and appends them, by the archive's
// direction. A load that runs out of data throws CArchiveException; the
// records completed before it stay in the array.
ORVX_API void CPrnStaticInfoArray_Serialize(CArchive& ar);

// Reason codes of the library entry.
enum : DWORD {
  ORVX_PROCESS_DETACH = 0,
  ORVX_PROCESS_ATTACH = 1,
  ORVX_THREAD_ATTACH = 2,
  ORVX_THREAD_DETACH = 3,
};

// The library entry. A host on POSIX calls it with ORVX_PROCESS_ATTACH after
// loading the library (with any non-null module handle, e.g. the handle from
// dlopen) and with ORVX_PROCESS_DETACH before unloading it. Attach reads
// ORVDB.dat from the current directory; it returns 0 when the file is missing
// or unreadable, after showing the host's message box.
extern "C" ORVX_API BOOL ORVX_LibraryEntry(void* hModule, DWORD reason, void* reserved);
