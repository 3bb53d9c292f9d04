// The library entry: attach loads ORVDB.dat into the model array, detach
// empties it.
#include <new>
#include <string>

#include "orvx/afx_host.h"
#include "orvx/model_db.h"
#include "orvx/whole_file.h"

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

  CFile file;
  if (!file.Open(kDatabaseFile, CFile::modeRead | CFile::typeBinary))
    return fail("Initialize Error: ORVDB.dat not found");
  if (file.GetLength() > orvx::kDatabaseFileMax)
    return fail("Initialize Error: ORVDB.dat could not be read (larger than 2 GB, more than a model database can hold)");

  BYTE buffer[1024];
  try {
    CArchive ar(&file, CArchive::load, sizeof buffer, buffer);
    CPrnStaticInfoArray_Serialize(ar);
    ar.Close();
    file.Close();
  } catch (const CArchiveException& e) {
    // The host's process must survive a damaged database: drop what was
    // loaded and refuse to attach.
    CPrnStaticInfoArray_RemoveAll();
    return fail("Initialize Error: ORVDB.dat is truncated or malformed (data ended at byte " +
                std::to_string(e.m_offset) + ")");
  } catch (const CFileException& e) {
    CPrnStaticInfoArray_RemoveAll();
    return fail(std::string("Initialize Error: ORVDB.dat could not be read (") + e.what() + ")");
  } catch (const std::bad_alloc&) {
    CPrnStaticInfoArray_RemoveAll();
    return fail("Initialize Error: not enough memory to load ORVDB.dat");
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
