#include "orvx/supported_model.h"

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "orvx/afx_host.h"

namespace {
constexpr const char* kSupportedKey = "\\Supported Models";
constexpr const char* kUnsupportedKey = "\\Unsupported Models";

// Reads a value of at most 4 bytes as a state. A shorter value leaves the
// rest 0, so the state is always defined.
LONG ReadState(HKEY key, const char* name, DWORD& state) {
  BYTE buffer[4] = {0, 0, 0, 0};
  DWORD size = sizeof buffer;
  const LONG r = RegQueryValueExA(key, name, nullptr, nullptr, buffer, &size);
  std::memcpy(&state, buffer, sizeof state);
  return r;
}

bool SameName(const CString& a, const char* b) { return std::strcmp(a.c_str(), b ? b : "") == 0; }
}  // namespace

CSMModelInfo::~CSMModelInfo() = default;

int CSMModelInfo::IsIFSupported(DWORD interfaceNumber, DWORD platformId) const {
  DWORD mask = 0;
  switch (interfaceNumber) {
    case 1:
    case 2: mask = 0x0100; break;
    case 3: mask = 0x0200; break;
    case 4: mask = 0x0400; break;
    case 5: mask = 0x0800; break;
    default: break;
  }
  const DWORD kind = state_ & 0xFF00;
  if (kind == 0x0100) {
    if (interfaceNumber == 5) return 0;
    if (platformId == VER_PLATFORM_WIN32_NT && interfaceNumber == 3) return 0;
  } else if (kind != 0x0200) {
    return 0;
  }
  return (mask & (state_ >> 16)) ? 1 : 0;
}

CSupportedModel::CSupportedModel(int listMode) : m_nListMode(listMode) {
  std::memset(&m_osVersion, 0, sizeof m_osVersion);
  m_osVersion.dwOSVersionInfoSize = sizeof m_osVersion;
  if (!GetVersionExA(&m_osVersion)) {
    (void)GetLastError();
    m_osVersion.dwPlatformId = 0;  // unknown platform
  }
  m_strRegistryPath = CString("SOFTWARE\\Vantor Selby\\") + orvx::host::AppNames().m_pszAppName;
  if (!m_nListMode) return;
  try {
    LoadFromRegistory();
  } catch (...) {  // no destructor runs for an object that was never made
    Purge();
    throw;
  }
}

CSupportedModel::~CSupportedModel() { Purge(); }

void CSupportedModel::SetRegistoryPath(const char* path) {
  if (!path || lstrlenA(path) == 0) return;
  m_strRegistryPath = path;
  if (m_nListMode) {
    Purge();
    LoadFromRegistory();
  }
}

int CSupportedModel::LoadFromRegistory() {
  const auto load = [&](const char* subKey, CObList& list, bool supported) {
    HKEY key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, (m_strRegistryPath + subKey).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
      return;
    // Closed however the loop ends: an allocation below may throw.
    const std::unique_ptr<std::remove_pointer_t<HKEY>, decltype(&RegCloseKey)> closer(key, &RegCloseKey);
    for (DWORD index = 0;; ++index) {
      char name[32] = {};
      DWORD nameLength = sizeof name;
      const LONG r = RegEnumValueA(key, index, name, &nameLength, nullptr, nullptr, nullptr, nullptr);
      if (r == ERROR_MORE_DATA) continue;  // a name of 32 or more characters: skipped
      // The end of the list, or a key that fails at every index (deleted meanwhile): stop.
      if (r != ERROR_SUCCESS) break;
      // Owned here until the list holds it: a failed allocation on the way must not leak it.
      auto info = std::make_unique<CSMModelInfo>();
      info->SetModelName(name);
      DWORD state = 1;
      if (supported) ReadState(key, name, state);  // its result is not examined
      info->SetState(state);
      list.AddTail(info.get());
      info.release();
    }
  };
  load(kSupportedKey, m_SupportedList, true);
  load(kUnsupportedKey, m_UnsupportedList, false);
  return !m_SupportedList.IsEmpty() && !m_UnsupportedList.IsEmpty() ? 1 : 0;
}

void CSupportedModel::Purge() {
  for (CObList* list : {&m_SupportedList, &m_UnsupportedList}) {
    if (list->IsEmpty()) continue;
    for (CObject* entry : *list) delete entry;
    list->RemoveAll();
  }
}

CSMModelInfo* CSupportedModel::Find(const char* modelName) {
  if (!m_nListMode) return nullptr;
  for (CObject* entry : m_SupportedList) {
    auto* info = static_cast<CSMModelInfo*>(entry);
    if (SameName(info->GetModelName(), modelName)) return info;
  }
  return nullptr;
}

int CSupportedModel::IsSupportedModel(const char* modelName, DWORD interfaceNumber) {
  if (m_nListMode) {
    const CSMModelInfo* info = Find(modelName);
    return info ? info->IsIFSupported(interfaceNumber, m_osVersion.dwPlatformId) : 0;
  }
  HKEY key;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, (m_strRegistryPath + kSupportedKey).c_str(), 0, KEY_READ, &key) !=
      ERROR_SUCCESS)
    return 0;
  int answer = 0;
  DWORD state = 0;
  if (ReadState(key, modelName, state) == ERROR_SUCCESS) {
    CSMModelInfo info;
    info.SetState(state);
    answer = info.IsIFSupported(interfaceNumber, m_osVersion.dwPlatformId);
  }
  RegCloseKey(key);
  return answer;
}

LONG CSupportedModel::CheckModel(const char* modelName, DWORD interfaceNumber) {
  if (m_nListMode) {
    for (CObject* entry : m_UnsupportedList)
      if (SameName(static_cast<CSMModelInfo*>(entry)->GetModelName(), modelName)) return kListedUnsupported;
  } else {
    HKEY key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, (m_strRegistryPath + kUnsupportedKey).c_str(), 0, KEY_READ, &key) ==
        ERROR_SUCCESS) {
      DWORD state = 0;
      const LONG r = ReadState(key, modelName, state);
      RegCloseKey(key);
      if (r == ERROR_SUCCESS) return kListedUnsupported;
    }
  }
  return IsSupportedModel(modelName, interfaceNumber) ? kSupported : kNotSupported;
}
