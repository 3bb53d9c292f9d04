// Runs the built orvdb binary for end-to-end tests.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <string>

#include "test_util.h"

namespace orvx_test {

struct ToolResult {
  int code;
  std::string out;
};

// Runs orvdb with `args` (shell words), capturing stdout; stderr goes to `err`
// when given. `env` is prefixed to the command (variable assignments).
inline ToolResult RunOrvdb(const std::string& args, std::string* err = nullptr, const std::string& env = "") {
  TempDir tmp;
  const auto errFile = tmp.path() / "stderr";
  const std::string cmd = env + "'" + ORVDB_BINARY + "' " + args + " 2>'" + errFile.string() + "'";
  FILE* p = popen(cmd.c_str(), "r");
  ToolResult r{-1, {}};
  if (!p) return r;
  std::array<char, 4096> buf;
  std::size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
  const int status = pclose(p);
  r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  if (err) {
    std::ifstream in(errFile);
    *err = std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  }
  return r;
}

}  // namespace orvx_test
