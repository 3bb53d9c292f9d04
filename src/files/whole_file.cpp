#include "orvx/whole_file.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>

#include "os/os_file.h"
#include "files/read_file.h"

namespace orvx {
namespace {

namespace fs = std::filesystem;

// The file a path names once its symbolic links are followed (the path
// itself when it is no link). Fails on a loop.
Status Resolve(const std::string& given, fs::path& target) {
  fs::path path = given;
  for (int hops = 0; hops < 40; ++hops) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(path, ec))) {
      target = path;
      return {};
    }
    const fs::path next = fs::read_symlink(path, ec);
    if (ec) return {Status::Io, given + ": " + ec.message(), ec.value()};
    path = next.is_absolute() ? next : path.parent_path() / next;
  }
  return {Status::Io, given + ": too many levels of symbolic links"};
}

// Temporary files are named ".<target>.tmp-<writer's process ID>-<random>",
// so that a writer that was killed can be told by its name.
std::string TempPrefix(const fs::path& target) { return "." + target.filename().string() + ".tmp-"; }

std::string TempName(const fs::path& target) {
  thread_local std::mt19937 random{std::random_device{}()};  // writers on several threads
  char tag[32];
  std::snprintf(tag, sizeof tag, "%llu-%08x", static_cast<unsigned long long>(os::CurrentProcessId()),
                static_cast<unsigned>(random()));
  return (target.parent_path() / (TempPrefix(target) + tag)).string();
}

// Removes the temporary files that writers of `target` left when they died.
void RemoveStaleTemps(const fs::path& target) {
  const std::string prefix = TempPrefix(target);
  const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
  std::error_code ec;
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name.rfind(prefix, 0) != 0) continue;
    char* rest = nullptr;
    const unsigned long long pid = std::strtoull(name.c_str() + prefix.size(), &rest, 10);
    if (!rest || *rest != '-' || pid == os::CurrentProcessId() || os::ProcessExists(pid)) continue;
    std::error_code ignored;
    fs::remove(it->path(), ignored);
  }
}

// Writes `bytes` into a new temporary file; its name in `temp`.
Status WriteTemp(const std::string& path, const fs::path& target, std::string_view bytes, std::string& temp) {
  os::FileHandle file = os::kNoFile;
  Status error;
  for (int attempt = 0; attempt < 8 && file == os::kNoFile; ++attempt) {
    temp = TempName(target);
    error = os::CreateNewFile(temp.c_str(), file);
  }
  if (error.Failed()) return detail::About(path, "cannot create a file beside it", std::move(error));
  std::size_t done = 0;
  while (done < bytes.size() && !error.Failed()) {
    const auto chunk = static_cast<std::uint32_t>(std::min<std::size_t>(bytes.size() - done, UINT32_MAX));
    std::uint64_t n = 0;
    error = os::WriteSome(file, bytes.data() + done, chunk, n);
    if (!error.Failed() && n == 0) error = {Status::Io, "nothing written"};
    done += static_cast<std::size_t>(n);
  }
  if (!error.Failed()) error = os::FlushFile(file);
  os::CloseFile(file);
  return error.Failed() ? detail::About(path, "cannot write", std::move(error)) : error;
}

}  // namespace

Status ReadWholeFile(const std::string& path, std::string& bytes, std::uint64_t limit) {
  bytes.clear();
  os::FileHandle file = os::kNoFile;
  if (Status error = detail::OpenForReading(path, file); error.Failed()) return error;
  Status error = detail::ReadOpenFile(path, file, limit, bytes);
  os::CloseFile(file);
  return error;
}

Status StatFile(const std::string& path, FileState& state) {
  // The system would read the path only up to the zero byte: another file.
  if (path.find('\0') != std::string::npos) return {Status::Argument, "a path that holds a zero byte"};
  os::FileStamp stamp;
  if (Status error = os::StatPath(path.c_str(), stamp); error.Failed())
    return detail::About(path, "cannot open", std::move(error));
  state = {{stamp.device, stamp.inode}, stamp.size, stamp.modified, stamp.changed};
  return {};
}

Status ReplaceWholeFile(const std::string& path, std::string_view bytes) {
  if (path.empty()) return {Status::Argument, "an empty path"};
  fs::path target;
  if (Status e = Resolve(path, target); e.Failed()) return e;

  std::error_code ec;
  const fs::file_status st = fs::status(target, ec);
  const bool exists = fs::exists(st);
  if (exists && !fs::is_regular_file(st)) return detail::About(path, "", os::NotRegularFile());
  if (target.has_parent_path()) {
    const fs::file_status folder = fs::status(target.parent_path(), ec);
    // A path that goes on through a file ("afile/", "afile/x") can name nothing.
    if (fs::exists(folder) && !fs::is_directory(folder))
      return {Status::Argument, path + ": " + target.parent_path().string() + " is a file, not a folder"};
    if (!fs::is_directory(folder))
      return {Status::NotFound, path + ": the folder " + target.parent_path().string() + " does not exist"};
  }

  RemoveStaleTemps(target);
  std::string temp;
  Status error = WriteTemp(path, target, bytes, temp);
  if (!error.Failed() && exists) {
    fs::permissions(temp, st.permissions(), fs::perm_options::replace, ec);
    if (ec) error = {Status::Io, path + ": cannot keep the file's permissions (" + ec.message() + ")", ec.value()};
  }
  // The folder is synced before the rename too: a folder that cannot be
  // synced fails the call while the old file is still in place.
  const fs::path parent = target.parent_path();
  const std::string dir = parent.empty() ? "." : parent.string();
  if (!error.Failed())
    if (Status e = os::SyncDirectory(dir.c_str()); e.Failed()) error = detail::About(path, "cannot sync its folder", e);
  if (!error.Failed())
    if (Status e = os::RenameOver(temp.c_str(), target.string().c_str()); e.Failed())
      error = detail::About(path, "cannot replace", e);
  if (error.Failed()) {
    fs::remove(temp, ec);
    return error;
  }
  if (Status e = os::SyncDirectory(dir.c_str()); e.Failed())
    return detail::About(path, "replaced, but its folder cannot be synced, so the change may not survive a power cut", e);
  return {};
}

namespace detail {

Status About(const std::string& path, std::string_view doing, Status error) {
  switch (error.code) {
    case Status::NotFound: error.message = path + ": no such file"; break;
    case Status::NotRegular: error.message = path + ": is " + os::NotRegularFile().message; break;
    default: error.message = path + ": " + std::string(doing) + " (" + error.message + ")"; break;
  }
  return error;
}

Status TooLarge(const std::string& path, std::uint64_t limit) {
  const bool gb = limit % (std::uint64_t{1} << 30) == 0;
  return {Status::TooLarge, path + ": larger than " + std::to_string(gb ? limit >> 30 : limit >> 20) +
                               (gb ? " GB" : " MB") + ", more than a file of its kind can hold"};
}

Status OpenForReading(const std::string& path, os::FileHandle& file) {
  Status error = os::OpenFile(path.c_str(), os::OpenMode{}, file);
  return error.Failed() ? About(path, "cannot open", std::move(error)) : error;
}

Status ReadOpenFile(const std::string& path, os::FileHandle file, std::uint64_t limit, std::string& bytes) {
  bytes.clear();
  const std::uint64_t length = os::FileLength(file);
  if (length != UINT64_MAX && length > limit) return TooLarge(path, limit);
  if (length != UINT64_MAX) bytes.reserve(static_cast<std::size_t>(length));
  char buffer[64 * 1024];
  for (;;) {
    std::uint64_t n = 0;
    if (Status e = os::ReadSome(file, buffer, sizeof buffer, n); e.Failed()) {
      bytes.clear();
      return About(path, "cannot read", std::move(e));
    }
    if (n == 0) return {};
    if (n > limit - bytes.size()) {  // it grew while read
      bytes.clear();
      bytes.shrink_to_fit();
      return TooLarge(path, limit);
    }
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
}

Status ResolveLinks(const std::string& path, std::string& target) {
  fs::path resolved;
  if (Status e = Resolve(path, resolved); e.Failed()) return e;
  target = resolved.string();
  return {};
}

}  // namespace detail

}  // namespace orvx
