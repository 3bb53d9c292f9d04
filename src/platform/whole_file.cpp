#include "orvx/whole_file.h"

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>

#include "orvx/afx_file.h"
#include "os_file.h"
#include "read_file.h"

namespace orvx {
namespace {

namespace fs = std::filesystem;

// The file a path names once its symbolic links are followed (the path
// itself when it is no link). Fails on a loop.
bool Resolve(fs::path path, fs::path& target, std::string& error) {
  for (int hops = 0; hops < 40; ++hops) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(path, ec))) {
      target = path;
      return true;
    }
    const fs::path next = fs::read_symlink(path, ec);
    if (ec) {
      error = ec.message();
      return false;
    }
    path = next.is_absolute() ? next : path.parent_path() / next;
  }
  error = "too many levels of symbolic links";
  return false;
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

Error SystemError(const std::string& path, const char* what, int osError) {
  return {path + ": " + what + " (" + os::ErrorText(osError) + ")", osError};
}

// Writes `bytes` into a new temporary file; its name in `temp`.
Error WriteTemp(const std::string& path, const fs::path& target, std::string_view bytes, std::string& temp) {
  int osError = 0;
  os::FileHandle file = os::kNoFile;
  for (int attempt = 0; attempt < 8 && file == os::kNoFile; ++attempt) {
    temp = TempName(target);
    file = os::CreateNewFile(temp.c_str(), osError);
  }
  if (file == os::kNoFile) return SystemError(path, "cannot create a file beside it", osError);
  Error error;
  std::size_t done = 0;
  while (done < bytes.size() && !error.Failed()) {
    const UINT chunk = static_cast<UINT>(std::min<std::size_t>(bytes.size() - done, UINT_MAX));
    const std::int64_t n = os::WriteSome(file, bytes.data() + done, chunk, osError);
    if (n < 0)
      error = SystemError(path, "cannot write", osError);
    else if (n == 0)
      error = {path + ": cannot write (nothing written)"};
    else
      done += static_cast<std::size_t>(n);
  }
  if (!error.Failed())
    if (const int e = os::FlushFile(file)) error = SystemError(path, "cannot flush", e);
  os::CloseFile(file);
  return error;
}

// Why a file of this status is no file to read or replace; "" when it is a
// regular file (or, for a target, does not exist yet).
std::string NotARegularFile(const fs::file_status& st) {
  if (fs::is_directory(st)) return "is a directory";
  if (fs::exists(st) && !fs::is_regular_file(st)) return "is not a regular file (a device, a FIFO or a socket)";
  return {};
}

}  // namespace

Error ReadWholeFile(const std::string& path, std::string& bytes, std::uint64_t limit) {
  bytes.clear();
  os::FileHandle file = os::kNoFile;
  if (Error error = detail::OpenForReading(path, file); error.Failed()) return error;
  Error error = detail::ReadOpenFile(path, file, limit, bytes);
  os::CloseFile(file);
  return error;
}

Error IdentifyFile(const std::string& path, FileIdentity& identity) {
  // The system would read the path only up to the zero byte: another file.
  if (path.find('\0') != std::string::npos) return {"a path that holds a zero byte"};
  os::FileHandle file = os::kNoFile;
  if (Error error = detail::OpenForReading(path, file); error.Failed()) return error;
  const os::FileStamp stamp = os::Stamp(file);
  os::CloseFile(file);
  identity = {stamp.device, stamp.inode};
  return {};
}

Error ReplaceFile(const std::string& path, std::string_view bytes) {
  fs::path target;
  std::string problem;
  if (path.empty()) return {"an empty path"};
  if (!Resolve(path, target, problem)) return {path + ": " + problem};

  std::error_code ec;
  const fs::file_status st = fs::status(target, ec);
  const bool exists = fs::exists(st);
  if (problem = NotARegularFile(st); !problem.empty()) return {path + ": " + problem};
  if (target.has_parent_path() && !fs::is_directory(target.parent_path(), ec))
    return {path + ": the folder " + target.parent_path().string() + " does not exist"};

  RemoveStaleTemps(target);
  std::string temp;
  Error error = WriteTemp(path, target, bytes, temp);
  if (!error.Failed() && exists) {
    fs::permissions(temp, st.permissions(), fs::perm_options::replace, ec);
    if (ec) error = {path + ": cannot keep the file's permissions (" + ec.message() + ")", ec.value()};
  }
  // The folder is synced before the rename too: a folder that cannot be
  // synced fails the call while the old file is still in place.
  const fs::path parent = target.parent_path();
  const std::string dir = parent.empty() ? "." : parent.string();
  if (!error.Failed())
    if (const int e = os::SyncDirectory(dir.c_str())) error = SystemError(path, "cannot sync its folder", e);
  if (!error.Failed())
    if (const int e = os::RenameOver(temp.c_str(), target.string().c_str())) error = SystemError(path, "cannot replace", e);
  if (error.Failed()) {
    fs::remove(temp, ec);
    return error;
  }
  if (const int e = os::SyncDirectory(dir.c_str()))
    return SystemError(path, "replaced, but its folder cannot be synced, so the change may not survive a power cut", e);
  return {};
}

namespace detail {

Error OpenForReading(const std::string& path, os::FileHandle& file, bool* missing) {
  int cause = 0, osError = 0;
  file = os::OpenFile(path.c_str(), CFile::modeRead, cause, osError);
  if (missing) *missing = file == os::kNoFile && cause == CFileException::fileNotFound;
  return file == os::kNoFile ? OpenError(path, cause, osError) : Error{};
}

Error OpenError(const std::string& path, int cause, int osError) {
  if (cause == CFileException::fileNotFound) return {path + ": no such file", osError};
  if (osError == os::kNotRegularFile) return {path + ": is " + os::ErrorText(osError), osError};
  return SystemError(path, "cannot open", osError);
}

Error ReadOpenFile(const std::string& path, os::FileHandle file, std::uint64_t limit, std::string& bytes) {
  bytes.clear();
  const auto tooLarge = [&] {
    const bool gb = limit % (std::uint64_t{1} << 30) == 0;
    return Error{path + ": larger than " + std::to_string(gb ? limit >> 30 : limit >> 20) + (gb ? " GB" : " MB") +
                 ", more than a file of its kind can hold"};
  };
  const std::uint64_t length = os::FileLength(file);
  if (length != UINT64_MAX && length > limit) return tooLarge();
  if (length != UINT64_MAX) bytes.reserve(static_cast<std::size_t>(length));
  char buffer[64 * 1024];
  for (;;) {
    int osError = 0;
    const std::int64_t n = os::ReadSome(file, buffer, sizeof buffer, osError);
    if (n < 0) {
      bytes.clear();
      return SystemError(path, "cannot read", osError);
    }
    if (n == 0) return {};
    if (static_cast<std::uint64_t>(n) > limit - bytes.size()) {  // it grew while read
      bytes.clear();
      bytes.shrink_to_fit();
      return tooLarge();
    }
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
}

Error ResolveLinks(const std::string& path, std::string& target) {
  fs::path resolved;
  std::string problem;
  if (!Resolve(path, resolved, problem)) return {path + ": " + problem};
  target = resolved.string();
  return {};
}

}  // namespace detail

}  // namespace orvx
