// Host services: what the host installs, with defaults that keep a host that
// installs nothing working; the system's own message box and resources come
// from os_host.h.
#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

#include "orvx/afx_host.h"
#include "os/os_host.h"

namespace {

struct HostState {
  std::mutex mutex;
  orvx::host::MessageBoxHandler messageBox;
  std::map<UINT, std::string> strings;
  std::vector<CDynLinkLibrary*> modules;
};

HostState& State() {
  static HostState state;
  return state;
}

CWinApp& App() {
  static CWinApp app{"orvx", ""};
  return app;
}

}  // namespace

int AfxMessageBox(const char* text, UINT type, UINT helpId) {
  orvx::host::MessageBoxHandler handler;
  {
    std::lock_guard lock(State().mutex);
    handler = State().messageBox;
  }
  const std::string_view message = text ? text : "";
  if (handler) return handler(message, type, helpId);
  return orvx::os::ShowMessageBox(message, type, orvx::host::AppNames().m_pszAppName);
}

namespace orvx::host {

void SetMessageBoxHandler(MessageBoxHandler handler) {
  std::lock_guard lock(State().mutex);
  State().messageBox = std::move(handler);
}

void SetStringResource(UINT id, std::string_view text) {
  std::lock_guard lock(State().mutex);
  State().strings[id] = std::string(text);
}

void RemoveStringResource(UINT id) {
  std::lock_guard lock(State().mutex);
  State().strings.erase(id);
}

void ClearStringResources() {
  std::lock_guard lock(State().mutex);
  State().strings.clear();
}

bool FindStringResource(UINT id, std::string& text) {
  std::lock_guard lock(State().mutex);
  const auto it = State().strings.find(id);
  if (it == State().strings.end()) return false;
  text = it->second;
  return true;
}

bool LoadHostString(UINT id, std::string& text) {
  return orvx::os::LoadModuleString(id, text) || FindStringResource(id, text);
}

void SetAppName(std::string_view name) {
  std::lock_guard lock(State().mutex);
  App().m_pszAppName = std::string(name);
}

void SetRegistryKey(std::string_view key) {
  std::lock_guard lock(State().mutex);
  App().m_pszRegistryKey = std::string(key);
}

CWinApp AppNames() {
  std::lock_guard lock(State().mutex);
  return App();
}

int LinkedModuleCount() {
  std::lock_guard lock(State().mutex);
  return static_cast<int>(State().modules.size());
}

}  // namespace orvx::host

// Each thread gets its own copy, taken under the lock: the names may change
// on another thread while the caller reads them.
CWinApp* AfxGetApp() {
  thread_local CWinApp copy;
  copy = orvx::host::AppNames();
  return &copy;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state, BOOL bSystem) : m_state(state), m_bSystem(bSystem) {
  std::lock_guard lock(State().mutex);
  State().modules.push_back(this);
}

CDynLinkLibrary::~CDynLinkLibrary() {
  std::lock_guard lock(State().mutex);
  auto& modules = State().modules;
  modules.erase(std::remove(modules.begin(), modules.end(), this), modules.end());
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, void* hModule) {
  if (!hModule) return FALSE;
  state.hModule = hModule;
  state.bInitialized = true;
  return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& state, BOOL /*bAll*/) {
  std::vector<CDynLinkLibrary*> mine;
  {
    std::lock_guard lock(State().mutex);
    for (CDynLinkLibrary* m : State().modules)
      if (&m->m_state == &state) mine.push_back(m);
  }
  for (CDynLinkLibrary* m : mine) delete m;  // the destructor unlinks it
  state.bInitialized = false;
}
