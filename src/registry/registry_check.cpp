// Reading registry store files (export format): parsed once for each state of
// the file, through a small cache that the registry calls and the check share.
#include "orvx/registry_check.h"

#include <map>
#include <mutex>

#include "orvx/afx_registry.h"
#include "orvx/whole_file.h"
#include "files/read_file.h"
#include "registry/reg_document.h"

namespace orvx::registry {
namespace {

// Two hives and a checked file or two: more are read again when they come back.
constexpr std::size_t kCacheEntries = 4;

struct Cache {
  std::mutex mutex;
  std::map<std::string, std::pair<os::FileStamp, Snapshot>> entries;
};
Cache& TheCache() {
  static Cache c;
  return c;
}

void Keep(const std::string& file, const os::FileStamp& stamp, const Snapshot& snap) {
  std::lock_guard lock(TheCache().mutex);
  auto& entries = TheCache().entries;
  if (entries.size() >= kCacheEntries && !entries.count(file)) entries.erase(entries.begin());
  entries[file] = {stamp, snap};
}

}  // namespace

Snapshot ReadStore(const std::string& file) {
  // An unchanged file is answered without opening it: a listing asks once for every value.
  if (const os::FileStamp seen = os::StampPath(file.c_str()); seen.regular) {
    std::lock_guard lock(TheCache().mutex);
    const auto it = TheCache().entries.find(file);
    if (it != TheCache().entries.end() && it->second.first == seen) return it->second.second;
  }
  os::FileHandle fd = os::kNoFile;
  if (Status error = detail::OpenForReading(file, fd); error.Failed()) {
    if (error.code != Status::NotFound) return {true, nullptr, std::move(error)};
    return {false, nullptr, {Status::NoStore, file + ": no such registry store file", error.osError}};
  }
  const os::FileStamp stamp = os::Stamp(fd);
  {
    std::lock_guard lock(TheCache().mutex);
    const auto it = TheCache().entries.find(file);
    if (it != TheCache().entries.end() && it->second.first == stamp) {
      os::CloseFile(fd);
      return it->second.second;
    }
  }
  std::string bytes;
  Snapshot snap{true, nullptr, detail::ReadOpenFile(file, fd, kStoreFileMax, bytes)};
  os::CloseFile(fd);
  if (!snap.error.Failed()) {
    auto doc = std::make_shared<Document>();
    if (Status e = Parse(bytes, *doc); e.Failed())
      snap.error = {Status::BadStore, file + ":" + std::to_string(e.where) + ": " + e.message, 0, e.where};
    else
      snap.doc = std::move(doc);
  }
  Keep(file, stamp, snap);
  return snap;
}

void Remember(const std::string& file, std::shared_ptr<const Document> doc) {
  os::FileHandle fd = os::kNoFile;
  if (detail::OpenForReading(file, fd).Failed()) return;
  const os::FileStamp stamp = os::Stamp(fd);
  os::CloseFile(fd);
  Keep(file, stamp, {true, std::move(doc), {}});
}

Status CheckStoreText(std::string_view text) {
  Document doc;
  if (Status e = Parse(text, doc); e.Failed())
    return {Status::BadStore, "line " + std::to_string(e.where) + ": " + e.message, 0, e.where};
  return {};
}

Status CheckFile(const std::string& path) {
  Snapshot snap = ReadStore(path);
  return std::move(snap.error);
}

}  // namespace orvx::registry
