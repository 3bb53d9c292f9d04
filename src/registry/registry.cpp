// The registry calls over the POSIX store: one text file per hive, read
// through a cache that follows the file, written atomically under an advisory
// lock so that concurrent writers in other processes lose nothing.

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>

#include "orvx/afx_file.h"
#include "orvx/afx_registry.h"
#include "orvx/registry_check.h"
#include "orvx/whole_file.h"
#include "os/os_file.h"
#include "files/read_file.h"
#include "registry/reg_document.h"

struct HKEY__ {
  HKEY hive;
  std::string path;  // below the hive, components joined by '\'
  REGSAM access;     // as opened: reading values needs KEY_QUERY_VALUE, writing KEY_SET_VALUE
};

namespace orvx::registry {
namespace {

thread_local DWORD g_lastError = 0;

struct Settings {
  std::mutex mutex;
  DWORD platformId = VER_PLATFORM_WIN32_NT;
  std::map<std::uintptr_t, std::string> files;
  std::set<HKEY> handles;
};
Settings& State() {
  static Settings s;
  return s;
}

bool IsHive(HKEY k) { return k == HKEY_LOCAL_MACHINE || k == HKEY_CURRENT_USER; }
const char* HiveName(HKEY k) { return k == HKEY_LOCAL_MACHINE ? "HKEY_LOCAL_MACHINE" : "HKEY_CURRENT_USER"; }

std::string FullPath(HKEY hive, const std::string& path) {
  return path.empty() ? std::string(HiveName(hive)) : std::string(HiveName(hive)) + "\\" + path;
}

// Resolves a key handle to its hive and path, for a use that needs the access
// rights `need`: ERROR_INVALID_HANDLE for an unknown handle, ERROR_ACCESS_DENIED
// when it was opened without them.
LONG Resolve(HKEY key, HKEY& hive, std::string& path, REGSAM need = 0) {
  if (IsHive(key)) {
    hive = key;
    path.clear();
    return ERROR_SUCCESS;
  }
  std::lock_guard lock(State().mutex);
  if (!State().handles.count(key)) return ERROR_INVALID_HANDLE;
  if ((key->access & need) != need) return ERROR_ACCESS_DENIED;
  hive = key->hive;
  path = key->path;
  return ERROR_SUCCESS;
}

// Appends `sub` to `path`; empty components (doubled or outer separators) are dropped.
std::string Join(std::string path, const char* sub) {
  if (!sub) return path;
  std::string_view s(sub);
  while (!s.empty()) {
    const std::size_t at = s.find('\\');
    const std::string_view part = s.substr(0, at);
    if (!part.empty()) {
      if (!path.empty()) path += '\\';
      path += part;
    }
    if (at == std::string_view::npos) break;
    s.remove_prefix(at + 1);
  }
  return path;
}

HKEY NewHandle(HKEY hive, std::string path, REGSAM access) {
  HKEY h = new HKEY__{hive, std::move(path), access};
  std::lock_guard lock(State().mutex);
  State().handles.insert(h);
  return h;
}

// ---- file access ------------------------------------------------------------------

// Runs `change` on the hive's document under the store's lock and writes the
// result. `change` returns an error code, or ERROR_SUCCESS with `dirty` set
// when there is something to write. A malformed file is never written.
LONG Mutate(HKEY hive, const std::function<LONG(Document&, bool& dirty)>& change) {
  const std::string file = orvx::host::RegistryFile(hive);
  const std::filesystem::path parent = std::filesystem::path(file).parent_path();
  std::error_code ec;
  if (!parent.empty()) std::filesystem::create_directories(parent, ec);
  // One lock per file, whatever path names it: beside the file a link leads to.
  std::string target;
  if (orvx::detail::ResolveLinks(file, target).Failed()) return ERROR_REGISTRY_IO_FAILED;
  // What is no store file gets no lock file beside it either.
  if (const auto st = std::filesystem::status(target, ec); std::filesystem::exists(st) && !std::filesystem::is_regular_file(st))
    return ERROR_REGISTRY_CORRUPT;
  os::FileHandle lockFd = os::kNoFile;
  if (os::OpenFile((target + ".lock").c_str(), CFile::modeReadWrite | CFile::modeCreate | CFile::modeNoTruncate, lockFd)
          .Failed())
    return ERROR_ACCESS_DENIED;
  if (os::LockExclusive(lockFd).Failed()) {
    os::CloseFile(lockFd);
    return ERROR_REGISTRY_IO_FAILED;
  }
  LONG result = ERROR_SUCCESS;
  const Snapshot snap = ReadStore(file);
  if (snap.exists && !snap.doc) {
    result = ERROR_REGISTRY_CORRUPT;
  } else {
    auto doc = std::make_shared<Document>(snap.doc ? *snap.doc : Document{});
    bool dirty = false;
    result = change(*doc, dirty);
    if (result == ERROR_SUCCESS && dirty) {
      std::string bytes;
      if (Serialize(*doc, bytes).Failed() || orvx::ReplaceFile(file, bytes).Failed())
        result = ERROR_REGISTRY_IO_FAILED;
      else
        Remember(file, std::move(doc));
    }
  }
  os::CloseFile(lockFd);  // releases the lock
  return result;
}

// The document of a hive for reading; null when the file is missing or malformed.
std::shared_ptr<const Document> ReadHive(HKEY hive) { return ReadStore(orvx::host::RegistryFile(hive)).doc; }

}  // namespace

}  // namespace orvx::registry

using namespace orvx::registry;

// ---- the registry calls ---------------------------------------------------------------

LONG RegOpenKeyExA(HKEY key, const char* subKey, DWORD, REGSAM sam, PHKEY result) {
  if (!result) return ERROR_INVALID_PARAMETER;
  HKEY hive;
  std::string path;
  if (const LONG r = Resolve(key, hive, path); r != ERROR_SUCCESS) return r;
  path = Join(path, subKey);
  const auto doc = ReadHive(hive);
  if (!doc || !KeyExists(*doc, FullPath(hive, path))) return ERROR_FILE_NOT_FOUND;
  *result = NewHandle(hive, std::move(path), sam);
  return ERROR_SUCCESS;
}

LONG RegCreateKeyExA(HKEY key, const char* subKey, DWORD, char*, DWORD, REGSAM sam, void*, PHKEY result,
                     DWORD* disposition) {
  if (!result) return ERROR_INVALID_PARAMETER;
  HKEY hive;
  std::string path;
  if (const LONG r = Resolve(key, hive, path); r != ERROR_SUCCESS) return r;
  path = Join(path, subKey);
  if (!NameProblem(path, "the key path").empty()) return ERROR_INVALID_NAME;
  const std::string full = FullPath(hive, path);
  bool created = false;
  const LONG r = Mutate(hive, [&](Document& doc, bool& dirty) {
    if (!KeyExists(doc, full)) {
      AddKey(doc, full);
      created = dirty = true;
    }
    return ERROR_SUCCESS;
  });
  if (r != ERROR_SUCCESS) return r;
  if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  *result = NewHandle(hive, std::move(path), sam);
  return ERROR_SUCCESS;
}

LONG RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD*, DWORD* type, BYTE* data,
                   DWORD* dataLength) {
  if (!name || !nameLength) return ERROR_INVALID_PARAMETER;
  HKEY hive;
  std::string path;
  if (const LONG r = Resolve(key, hive, path, KEY_QUERY_VALUE); r != ERROR_SUCCESS) return r;
  const auto doc = ReadHive(hive);
  if (!doc) return ERROR_NO_MORE_ITEMS;
  const Key* k = FindKey(*doc, FullPath(hive, path));
  if (!k) return ERROR_NO_MORE_ITEMS;
  const Value* found = ValueAt(*k, index);
  if (!found) return ERROR_NO_MORE_ITEMS;
  const Value& v = *found;
  if (v.name.size() + 1 > *nameLength) return ERROR_MORE_DATA;
  if (data && dataLength && v.data.size() > *dataLength) {
    *dataLength = static_cast<DWORD>(v.data.size());
    return ERROR_MORE_DATA;
  }
  std::memcpy(name, v.name.c_str(), v.name.size() + 1);
  *nameLength = static_cast<DWORD>(v.name.size());
  if (type) *type = v.type;
  if (data && dataLength && !v.data.empty()) std::memcpy(data, v.data.data(), v.data.size());
  if (dataLength) *dataLength = static_cast<DWORD>(v.data.size());
  return ERROR_SUCCESS;
}

LONG RegQueryValueExA(HKEY key, const char* name, DWORD*, DWORD* type, BYTE* data, DWORD* dataLength) {
  if (data && !dataLength) return ERROR_INVALID_PARAMETER;
  HKEY hive;
  std::string path;
  if (const LONG r = Resolve(key, hive, path, KEY_QUERY_VALUE); r != ERROR_SUCCESS) return r;
  const auto doc = ReadHive(hive);
  if (!doc) return ERROR_FILE_NOT_FOUND;
  const Key* k = FindKey(*doc, FullPath(hive, path));
  const Value* v = k ? FindValue(*k, name ? name : "") : nullptr;
  if (!v) return ERROR_FILE_NOT_FOUND;
  const auto size = static_cast<DWORD>(v->data.size());
  if (type) *type = v->type;
  if (data) {
    if (size > *dataLength) {
      *dataLength = size;
      return ERROR_MORE_DATA;
    }
    if (size) std::memcpy(data, v->data.data(), size);
  }
  if (dataLength) *dataLength = size;
  return ERROR_SUCCESS;
}

LONG RegSetValueExA(HKEY key, const char* name, DWORD, DWORD type, const BYTE* data, DWORD length) {
  if (!data && length) return ERROR_INVALID_PARAMETER;
  HKEY hive;
  std::string path;
  if (const LONG r = Resolve(key, hive, path, KEY_SET_VALUE); r != ERROR_SUCCESS) return r;
  if (!NameProblem(name ? name : "", "the value name").empty()) return ERROR_INVALID_NAME;
  const std::string full = FullPath(hive, path);
  Value v{name ? name : "", type, data ? std::vector<BYTE>(data, data + length) : std::vector<BYTE>{}};
  return Mutate(hive, [&](Document& doc, bool& dirty) {
    Key* k = FindKey(doc, full);
    if (!k) k = &AddKey(doc, full);
    SetValue(*k, std::move(v));
    dirty = true;
    return ERROR_SUCCESS;
  });
}

LONG RegCloseKey(HKEY key) {
  if (IsHive(key)) return ERROR_SUCCESS;
  {
    std::lock_guard lock(State().mutex);
    if (!State().handles.erase(key)) return ERROR_INVALID_HANDLE;
  }
  delete key;
  return ERROR_SUCCESS;
}

// ---- version and kernel helpers ---------------------------------------------------------

namespace {
constexpr DWORD kExtendedSize = 156;  // OSVERSIONINFOEXA
}  // namespace

BOOL GetVersionExA(OSVERSIONINFOA* info) {
  // The platform takes the basic and the extended record, and nothing else.
  if (!info || (info->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA) && info->dwOSVersionInfoSize != kExtendedSize)) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  std::memset(reinterpret_cast<char*>(info) + sizeof(DWORD), 0, info->dwOSVersionInfoSize - sizeof(DWORD));
  info->dwMajorVersion = 10;
  std::lock_guard lock(State().mutex);
  info->dwPlatformId = State().platformId;
  return TRUE;
}

DWORD GetLastError() { return g_lastError; }
void SetLastError(DWORD error) { g_lastError = error; }
int lstrlenA(const char* text) { return text ? static_cast<int>(std::strlen(text)) : 0; }

namespace orvx::host {

void SetPlatformId(DWORD id) {
  std::lock_guard lock(State().mutex);
  State().platformId = id;
}

void SetRegistryFile(HKEY hive, std::string_view path) {
  std::lock_guard lock(State().mutex);
  State().files[reinterpret_cast<std::uintptr_t>(hive)] = std::string(path);
}

std::string RegistryFile(HKEY hive) {
  {
    std::lock_guard lock(State().mutex);
    const auto it = State().files.find(reinterpret_cast<std::uintptr_t>(hive));
    if (it != State().files.end() && !it->second.empty()) return it->second;
  }
  const bool machine = hive == HKEY_LOCAL_MACHINE;
  if (const char* env = std::getenv(machine ? "ORVX_HKLM_FILE" : "ORVX_HKCU_FILE"); env && *env) return env;
  if (machine) return "/etc/orvx/hklm.reg";
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) return std::string(xdg) + "/orvx/hkcu.reg";
  const char* home = std::getenv("HOME");
  return std::string(home && *home ? home : ".") + "/.config/orvx/hkcu.reg";
}

}  // namespace orvx::host
