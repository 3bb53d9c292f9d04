// Runs the built orvdb binary for end-to-end tests.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/wait.h>
#endif

#include <array>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "test_util.h"

namespace orvx_test {

struct ToolResult {
  int code;
  std::string out;
};

#if defined(_WIN32)

// `args` as a POSIX shell splits them: words, 'single-quoted' text, and one
// "< file" redirection of standard input.
inline std::vector<std::string> ShellWords(const std::string& args, std::string& input) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false, quoted = false, redirect = false;
  const auto end = [&] {
    if (!inWord) return;
    (redirect ? input : words.emplace_back()) = word;
    redirect = inWord = false;
    word.clear();
  };
  for (const char c : args) {
    if (quoted) {
      if (c == '\'') quoted = false;
      else word += c;
    } else if (c == '\'') {
      quoted = inWord = true;
    } else if (c == ' ') {
      end();
    } else if (c == '<' && !inWord) {
      redirect = true;
    } else {
      word += c;
      inWord = true;
    }
  }
  end();
  return words;
}

// One argument as the C runtime splits a command line back into argv.
inline std::string QuoteArgument(const std::string& arg) {
  std::string out = "\"";
  std::size_t slashes = 0;
  for (const char c : arg) {
    if (c == '\\') {
      ++slashes;
      continue;
    }
    out.append(c == '"' ? 2 * slashes + 1 : slashes, '\\');
    slashes = 0;
    out += c;
  }
  out.append(2 * slashes, '\\');
  return out + "\"";
}

// Runs orvdb with `args` (shell words), capturing stdout with its line ends
// as "\n"; stderr goes to `err` when given. Variable assignments (`env`) are
// for the POSIX registry store and have no place here.
inline ToolResult RunOrvdb(const std::string& args, std::string* err = nullptr, const std::string& env = "") {
  ToolResult r{-1, {}};
  if (!env.empty()) return r;
  TempDir tmp;
  std::string input;
  std::string commandLine = QuoteArgument(ORVDB_BINARY);
  for (const auto& word : ShellWords(args, input)) commandLine += " " + QuoteArgument(word);

  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  const auto open = [&](const std::string& path, bool write) {
    return CreateFileA(path.c_str(), write ? GENERIC_WRITE : GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                       write ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  };
  const std::string outPath = (tmp.path() / "stdout").string(), errPath = (tmp.path() / "stderr").string();
  STARTUPINFOA start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = open(input.empty() ? "NUL" : input, false);
  start.hStdOutput = open(outPath, true);
  start.hStdError = open(errPath, true);
  PROCESS_INFORMATION process{};
  const bool started = CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                                      &process);
  for (HANDLE h : {start.hStdInput, start.hStdOutput, start.hStdError})
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
  if (!started) return r;
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  if (GetExitCodeProcess(process.hProcess, &code)) r.code = static_cast<int>(code);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  const auto lf = [](std::string s) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i)
      if (!(s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n')) out += s[i];
    return out;
  };
  r.out = lf(ReadAll(outPath));
  if (err) *err = lf(ReadAll(errPath));
  return r;
}

#else

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
  if (err) *err = ReadAll(errFile);
  return r;
}

#endif

}  // namespace orvx_test
