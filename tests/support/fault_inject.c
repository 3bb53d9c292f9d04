/* Preloaded into orvdb by the fault-injection test: makes one system call on
 * the write path of a file fail, chosen by ORVX_FAULT = CALL[:ERRNO]:
 *   open    creating the temporary file (a name with ".tmp-")
 *   lock    taking the store's exclusive lock
 *   write   every write to the temporary file
 *   short   the first write to it writes half, the next fail with ENOSPC
 *   fsync   flushing the temporary file
 *   rename  renaming it over the target
 *   dirsync flushing a directory
 * Everything else passes through to the C library. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/types.h>
#include <unistd.h>

static int temp_fd = -1;
static int dir_fd = -1;
static int wrote_short = 0;

static int is(const char* call) {
  const char* f = getenv("ORVX_FAULT");
  const size_t n = strlen(call);
  return f && strncmp(f, call, n) == 0 && (f[n] == '\0' || f[n] == ':');
}

static int fault_errno(void) {
  const char* colon = strchr(getenv("ORVX_FAULT"), ':');
  return colon ? atoi(colon + 1) : EIO;
}

#define REAL(name, type) ((type)dlsym(RTLD_NEXT, name))

/* The wrapped call fails with the chosen errno. */
static int fail(void) {
  errno = fault_errno();
  return -1;
}

static int open_common(const char* real, const char* path, int flags, mode_t mode) {
  typedef int (*open_fn)(const char*, int, ...);
  const int temp = path && strstr(path, ".tmp-") != NULL;
  if (temp && is("open")) return fail();
  const int fd = REAL(real, open_fn)(path, flags, mode);
  if (temp && fd >= 0) temp_fd = fd;
  if ((flags & O_DIRECTORY) && fd >= 0) dir_fd = fd;
  return fd;
}

/* open and open64 alike: the mode argument is there only with O_CREAT. */
#define OPEN_WRAPPER(name)                           \
  int name(const char* path, int flags, ...) {       \
    mode_t mode = 0;                                 \
    if (flags & O_CREAT) {                           \
      va_list ap;                                    \
      va_start(ap, flags);                           \
      mode = (mode_t)va_arg(ap, int);                \
      va_end(ap);                                    \
    }                                                \
    return open_common(#name, path, flags, mode);    \
  }
OPEN_WRAPPER(open)
OPEN_WRAPPER(open64)

int close(int fd) {
  if (fd == temp_fd) temp_fd = -1;
  if (fd == dir_fd) dir_fd = -1;
  return REAL("close", int (*)(int))(fd);
}

int flock(int fd, int operation) {
  if ((operation & LOCK_EX) && is("lock")) return fail();
  return REAL("flock", int (*)(int, int))(fd, operation);
}

ssize_t write(int fd, const void* buffer, size_t count) {
  typedef ssize_t (*write_fn)(int, const void*, size_t);
  if (fd >= 0 && fd == temp_fd) {
    if (is("write")) return fail();
    if (is("short")) {
      if (!wrote_short && count > 1) {
        wrote_short = 1;
        return REAL("write", write_fn)(fd, buffer, count / 2);
      }
      errno = ENOSPC;
      return -1;
    }
  }
  return REAL("write", write_fn)(fd, buffer, count);
}

int fsync(int fd) {
  if (fd >= 0 && ((fd == temp_fd && is("fsync")) || (fd == dir_fd && is("dirsync")))) return fail();
  return REAL("fsync", int (*)(int))(fd);
}

int rename(const char* from, const char* to) {
  if (from && strstr(from, ".tmp-") && is("rename")) return fail();
  return REAL("rename", int (*)(const char*, const char*))(from, to);
}
