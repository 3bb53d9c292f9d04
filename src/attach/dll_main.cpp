// The DLL's entry point: the system calls it with the same reason codes as the
// library entry takes (1 attach, 0 detach, 2 and 3 thread attach and detach).
#include <windows.h>

#include "orvx/model_db.h"

static_assert(DLL_PROCESS_ATTACH == ORVX_PROCESS_ATTACH);
static_assert(DLL_PROCESS_DETACH == ORVX_PROCESS_DETACH);
static_assert(DLL_THREAD_ATTACH == ORVX_THREAD_ATTACH);
static_assert(DLL_THREAD_DETACH == ORVX_THREAD_DETACH);

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
  return ORVX_LibraryEntry(module, reason, reserved);
}
