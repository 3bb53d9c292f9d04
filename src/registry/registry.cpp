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

#include "orvx/afx_registry.h"
#include "orvx/registry_check.h"
#include "orvx/whole_file.h"
#include "os/os_file.h"
#include "files/read_file.h"
#include "registry/reg_document.h"
#include "registry/reg_store.h"

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

// A failed call: why (`code`, `message`) and what the host's call returns.
Status Refused(Status::Code code, LONG result, std::string message) {
  return {code, std::move(message), static_cast<int>(result)};
}
// The same for a failure met on the way (a file that cannot be read or written).
Status Refused(Status error, LONG result) {
  error.osError = static_cast<int>(result);
  return error;
}

// Resolves a key handle to its hive and path, for a use that needs the access
// rights `need`: ERROR_INVALID_HANDLE for an unknown handle, ERROR_ACCESS_DENIED
// when it was opened without them.
Status Resolve(HKEY key, HKEY& hive, std::string& path, REGSAM need = 0) {
  if (IsHive(key)) {
    hive = key;
    path.clear();
    return {};
  }
  std::lock_guard lock(State().mutex);
  if (!State().handles.count(key)) return Refused(Status::Argument, ERROR_INVALID_HANDLE, "not an open registry key");
  if ((key->access & need) != need)
    return Refused(Status::Registry, ERROR_ACCESS_DENIED,
                   FullPath(key->hive, key->path) + ": the key was opened without the right to " +
                       (need & KEY_SET_VALUE ? "set" : "read") + " values");
  hive = key->hive;
  path = key->path;
  return {};
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
// result. `change` fails, or sets `dirty` when there is something to write. A
// malformed file is never written.
Status Mutate(HKEY hive, const std::function<Status(Document&, bool& dirty)>& change) {
  const std::string file = orvx::host::RegistryFile(hive);
  const std::filesystem::path parent = std::filesystem::path(file).parent_path();
  std::error_code ec;
  if (!parent.empty()) std::filesystem::create_directories(parent, ec);
  // One lock per file, whatever path names it: beside the file a link leads to.
  std::string target;
  if (Status e = orvx::detail::ResolveLinks(file, target); e.Failed()) return Refused(std::move(e), ERROR_REGISTRY_IO_FAILED);
  // What is no store file gets no lock file beside it either.
  if (const auto st = std::filesystem::status(target, ec); std::filesystem::exists(st) && !std::filesystem::is_regular_file(st))
    return Refused(orvx::detail::About(file, "", os::NotRegularFile()), ERROR_REGISTRY_CORRUPT);
  const std::string lockFile = target + ".lock";
  os::FileHandle lockFd = os::kNoFile;
  if (Status e = os::OpenFile(lockFile.c_str(), {os::OpenMode::ReadWrite, {}, os::OpenMode::CreateOrKeep}, lockFd);
      e.Failed()) {
    e = orvx::detail::About(lockFile, "cannot open the store's lock", std::move(e));
    if (e.code == Status::NotFound) e.code = Status::Io;  // its folder could not be made: nothing is missing
    return Refused(std::move(e), ERROR_ACCESS_DENIED);
  }
  if (Status e = os::LockExclusive(lockFd); e.Failed()) {
    os::CloseFile(lockFd);
    return Refused(orvx::detail::About(lockFile, "cannot lock", std::move(e)), ERROR_REGISTRY_IO_FAILED);
  }
  Status result;
  Snapshot snap = ReadStore(file);
  if (snap.exists && !snap.doc) {
    result = Refused(std::move(snap.error), ERROR_REGISTRY_CORRUPT);
  } else {
    auto doc = std::make_shared<Document>(snap.doc ? *snap.doc : Document{});
    bool dirty = false;
    result = change(*doc, dirty);
    if (!result.Failed() && dirty) {
      std::string bytes;
      if (Status e = Serialize(*doc, bytes); e.Failed())
        result = Refused(Status::Argument, ERROR_REGISTRY_IO_FAILED, file + ": " + e.message);
      else if (e = orvx::ReplaceWholeFile(file, bytes); e.Failed())
        result = Refused(std::move(e), ERROR_REGISTRY_IO_FAILED);
      else
        Remember(file, std::move(doc));
    }
  }
  os::CloseFile(lockFd);  // releases the lock
  return result;
}

// The document of a hive for reading: null when the file is missing (an
// empty registry); a failure when it is malformed or cannot be read, which
// the calls report as `result`, what they answer for a key that is not there.
Status ReadHive(HKEY hive, LONG result, std::shared_ptr<const Document>& doc) {
  Snapshot snap = ReadStore(orvx::host::RegistryFile(hive));
  doc = std::move(snap.doc);
  return snap.exists && !doc ? Refused(std::move(snap.error), result) : Status{};
}

std::string ValueText(const std::string& key, std::string_view name) {
  return key + (name.empty() ? ": the default value" : ": the value \"" + std::string(name) + "\"");
}

}  // namespace

Status OpenKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result) {
  HKEY hive;
  std::string path;
  if (Status e = Resolve(key, hive, path); e.Failed()) return e;
  path = Join(path, subKey);
  std::shared_ptr<const Document> doc;
  if (Status e = ReadHive(hive, ERROR_FILE_NOT_FOUND, doc); e.Failed()) return e;
  const std::string full = FullPath(hive, path);
  if (!doc || !KeyExists(*doc, full)) return Refused(Status::NotFound, ERROR_FILE_NOT_FOUND, full + ": no such key");
  result = NewHandle(hive, std::move(path), sam);
  return {};
}

Status CreateKey(HKEY key, const char* subKey, REGSAM sam, HKEY& result, DWORD* disposition) {
  HKEY hive;
  std::string path;
  if (Status e = Resolve(key, hive, path); e.Failed()) return e;
  path = Join(path, subKey);
  if (std::string problem = NameProblem(path, "the key path"); !problem.empty())
    return Refused(Status::Argument, ERROR_INVALID_NAME, std::move(problem));
  const std::string full = FullPath(hive, path);
  bool created = false;
  if (Status e = Mutate(hive, [&](Document& doc, bool& dirty) {
        if (!KeyExists(doc, full)) {
          AddKey(doc, full);
          created = dirty = true;
        }
        return Status{};
      });
      e.Failed())
    return e;
  if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  result = NewHandle(hive, std::move(path), sam);
  return {};
}

namespace {

Status EnumValue(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD* type, BYTE* data, DWORD* dataLength) {
  if (!name || !nameLength) return Refused(Status::Argument, ERROR_INVALID_PARAMETER, "no buffer for the value's name");
  HKEY hive;
  std::string path;
  if (Status e = Resolve(key, hive, path, KEY_QUERY_VALUE); e.Failed()) return e;
  std::shared_ptr<const Document> doc;
  if (Status e = ReadHive(hive, ERROR_NO_MORE_ITEMS, doc); e.Failed()) return e;
  const std::string full = FullPath(hive, path);
  const Key* k = doc ? FindKey(*doc, full) : nullptr;
  const Value* found = k ? ValueAt(*k, index) : nullptr;
  if (!found) return Refused(Status::NotFound, ERROR_NO_MORE_ITEMS, full + ": no value number " + std::to_string(index));
  const Value& v = *found;
  if (v.name.size() + 1 > *nameLength)
    return Refused(Status::ValueTooLarge, ERROR_MORE_DATA, ValueText(full, v.name) + ": its name is longer than the buffer");
  if (data && dataLength && v.data.size() > *dataLength) {
    *dataLength = static_cast<DWORD>(v.data.size());
    return Refused(Status::ValueTooLarge, ERROR_MORE_DATA, ValueText(full, v.name) + ": more data than the buffer holds");
  }
  std::memcpy(name, v.name.c_str(), v.name.size() + 1);
  *nameLength = static_cast<DWORD>(v.name.size());
  if (type) *type = v.type;
  if (data && dataLength && !v.data.empty()) std::memcpy(data, v.data.data(), v.data.size());
  if (dataLength) *dataLength = static_cast<DWORD>(v.data.size());
  return {};
}

}  // namespace

Status QueryValue(HKEY key, const char* name, DWORD* type, BYTE* data, DWORD* length) {
  if (data && !length) return Refused(Status::Argument, ERROR_INVALID_PARAMETER, "a buffer without its length");
  HKEY hive;
  std::string path;
  if (Status e = Resolve(key, hive, path, KEY_QUERY_VALUE); e.Failed()) return e;
  std::shared_ptr<const Document> doc;
  if (Status e = ReadHive(hive, ERROR_FILE_NOT_FOUND, doc); e.Failed()) return e;
  const std::string full = FullPath(hive, path);
  const Key* k = doc ? FindKey(*doc, full) : nullptr;
  const Value* v = k ? FindValue(*k, name ? name : "") : nullptr;
  if (!v) return Refused(Status::NotFound, ERROR_FILE_NOT_FOUND, ValueText(full, name ? name : "") + " does not exist");
  const auto size = static_cast<DWORD>(v->data.size());
  if (type) *type = v->type;
  if (data) {
    if (size > *length) {
      const DWORD room = *length;
      *length = size;
      return Refused(Status::ValueTooLarge, ERROR_MORE_DATA,
                     ValueText(full, v->name) + " holds " + std::to_string(size) + " bytes, more than the " +
                         std::to_string(room) + " it is read into");
    }
    if (size) std::memcpy(data, v->data.data(), size);
  }
  if (length) *length = size;
  return {};
}

Status SetValue(HKEY key, const char* name, DWORD type, const BYTE* data, DWORD length) {
  if (!data && length) return Refused(Status::Argument, ERROR_INVALID_PARAMETER, "a length without its data");
  HKEY hive;
  std::string path;
  if (Status e = Resolve(key, hive, path, KEY_SET_VALUE); e.Failed()) return e;
  if (std::string problem = NameProblem(name ? name : "", "the value name"); !problem.empty())
    return Refused(Status::Argument, ERROR_INVALID_NAME, std::move(problem));
  const std::string full = FullPath(hive, path);
  Value v{name ? name : "", type, data ? std::vector<BYTE>(data, data + length) : std::vector<BYTE>{}};
  return Mutate(hive, [&](Document& doc, bool& dirty) {
    Key* k = FindKey(doc, full);
    if (!k) k = &AddKey(doc, full);
    SetValue(*k, std::move(v));
    dirty = true;
    return Status{};
  });
}

}  // namespace orvx::registry

using namespace orvx::registry;

// ---- the registry calls ---------------------------------------------------------------

LONG RegOpenKeyExA(HKEY key, const char* subKey, DWORD, REGSAM sam, PHKEY result) {
  if (!result) return ERROR_INVALID_PARAMETER;
  return ToLong(OpenKey(key, subKey, sam, *result));
}

LONG RegCreateKeyExA(HKEY key, const char* subKey, DWORD, char*, DWORD, REGSAM sam, void*, PHKEY result,
                     DWORD* disposition) {
  if (!result) return ERROR_INVALID_PARAMETER;
  return ToLong(CreateKey(key, subKey, sam, *result, disposition));
}

LONG RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD*, DWORD* type, BYTE* data,
                   DWORD* dataLength) {
  return ToLong(EnumValue(key, index, name, nameLength, type, data, dataLength));
}

LONG RegQueryValueExA(HKEY key, const char* name, DWORD*, DWORD* type, BYTE* data, DWORD* dataLength) {
  return ToLong(QueryValue(key, name, type, data, dataLength));
}

LONG RegSetValueExA(HKEY key, const char* name, DWORD, DWORD type, const BYTE* data, DWORD length) {
  return ToLong(orvx::registry::SetValue(key, name, type, data, length));
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
