// The library entry: attach loads ORVDB.dat into the model array, detach
// empties it.
#include <string>

#include "orvx/afx_host.h"
#include "model_db/db_loader.h"
#include "orvx/model_db.h"

namespace {

AFX_EXTENSION_MODULE g_module;

constexpr const char* kDatabaseFile = "ORVDB.dat";

BOOL Attach(void* hModule) {
  if (!AfxInitExtensionModule(g_module, hModule)) return FALSE;
  new CDynLinkLibrary(g_module);  // owned by the module chain

  // A failed attach must not leave the registration behind: the host unloads
  // the library next.
  const auto fail = [](const std::string& message) {
    AfxMessageBox(message.c_str(), MB_ICONSTOP, 0);
    AfxTermExtensionModule(g_module);
    return FALSE;
  };

  // Whatever kept the file from opening, the host is told it is not found.
  CFile file;
  if (const orvx::Status e = orvx::detail::OpenDatabase(kDatabaseFile, file); e.Failed())
    return fail(file.IsOpen() ? "Initialize Error: " + e.message : "Initialize Error: ORVDB.dat not found");

  BYTE buffer[1024];
  try {
    CArchive ar(&file, CArchive::load, sizeof buffer, buffer);
    CPrnStaticInfoArray_Serialize(ar);
    ar.Close();
    file.Close();
  } catch (...) {
    // The host's process must survive a damaged database: drop what was
    // loaded and refuse to attach, saying what every reader says.
    CPrnStaticInfoArray_RemoveAll();
    return fail("Initialize Error: " + orvx::detail::LoadFailure(kDatabaseFile).message);
  }
  return TRUE;
}

BOOL Detach() {
  CPrnStaticInfoArray_RemoveAll();
  AfxTermExtensionModule(g_module, FALSE);
  return TRUE;
}

}  // namespace

extern "C" BOOL ORVX_LibraryEntry(void* hModule, DWORD reason, void*) {
  switch (reason) {
    case ORVX_PROCESS_ATTACH: return Attach(hModule);
    case ORVX_PROCESS_DETACH: return Detach();
    default: return TRUE;
  }
}
