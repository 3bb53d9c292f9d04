// What the library asks of its host: the message box, the host's string
// resources, the host application object (names) and the extension-module
// life cycle. The host fills these in through the setters below; on Windows
// the message box and the string resources are also the platform's.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "orvx/afx_types.h"
#include "orvx/export.h"

// ---- message box ----------------------------------------------------------
#if !defined(_WIN32)
constexpr UINT MB_OK = 0x0;
constexpr UINT MB_ICONSTOP = 0x10;
constexpr int IDOK = 1;
#endif

// Shows `text` and returns the button pressed. Without a handler: the
// platform's message box on Windows; elsewhere the text goes to standard error
// and the call returns IDOK at once.
ORVX_API int AfxMessageBox(const char* text, UINT type = MB_OK, UINT helpId = 0);

namespace orvx::host {

using MessageBoxHandler = std::function<int(std::string_view text, UINT type, UINT helpId)>;
// Installs the host's message box; an empty handler restores the default.
ORVX_API void SetMessageBoxHandler(MessageBoxHandler handler);

// ---- string resources -----------------------------------------------------
// The host's string table, looked up by CString::LoadString.
ORVX_API void SetStringResource(UINT id, std::string_view text);
ORVX_API void RemoveStringResource(UINT id);
ORVX_API void ClearStringResources();
// True and the text when the host's table has a string of that identifier.
ORVX_API bool FindStringResource(UINT id, std::string& text);
// The host's string `id` as CString::LoadString finds it: on Windows from the
// host program's own string resources first, then from the table above.
ORVX_API bool LoadHostString(UINT id, std::string& text);

// ---- host application object ----------------------------------------------
ORVX_API void SetAppName(std::string_view name);
ORVX_API void SetRegistryKey(std::string_view key);

}  // namespace orvx::host

// The host application object, as the library reads it.
struct ORVX_API CWinApp {
  std::string m_pszAppName;
  std::string m_pszRegistryKey;
};
// The calling thread's copy of the host's names, refreshed at each call (so
// that another thread naming the host cannot race with its reader). Writing
// to it changes nothing: the setters above name the host.
ORVX_API CWinApp* AfxGetApp();

namespace orvx::host {
// A copy of the host's names, taken under the lock that guards their setters:
// what the library itself reads, since a host may name itself on another thread.
ORVX_API CWinApp AppNames();
}  // namespace orvx::host

// ---- extension-module life cycle -------------------------------------------
struct ORVX_API AFX_EXTENSION_MODULE {
  bool bInitialized = false;
  void* hModule = nullptr;
};

// Links a module into the framework's chain of modules; released by
// AfxTermExtensionModule, never deleted by the library.
class ORVX_API CDynLinkLibrary {
 public:
  CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem = FALSE);
  CDynLinkLibrary(const CDynLinkLibrary&) = delete;
  CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;
  ~CDynLinkLibrary();
  AFX_EXTENSION_MODULE& m_state;
  BOOL m_bSystem;
};

// Fails for a null module handle (there is no module to register).
ORVX_API BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, void* hModule);
// Deletes the CDynLinkLibrary objects made for `state`.
ORVX_API void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL bAll = FALSE);

namespace orvx::host {
// Number of CDynLinkLibrary objects in the chain; lets a host check that a
// failed or finished attach left nothing behind.
ORVX_API int LinkedModuleCount();
}  // namespace orvx::host
