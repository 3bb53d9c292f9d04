// The tool's commands. Each Add function adds its subcommands to the app,
// with their options and help texts, and appends what runs each one once the
// command line is parsed. main only wires them, in the order `--help` lists.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "db_json.h"
#include "orvx/status.h"
#include "orvx/text.h"

namespace orvdb {

constexpr int kExitOk = 0;
constexpr int kExitFallback = 1;  // a negative answer: no match, not supported, findings

// What a command answers: kExitOk, or kExitFallback for a negative answer.
// A failure is the Status: main reports it on one line and exits with its code.
using Outcome = orvx::Result<int>;

struct Command {
  const CLI::App* sub;  // runs when the command line chose this subcommand
  std::function<Outcome()> run;
};
using Commands = std::vector<Command>;

void AddShowCommands(CLI::App& app, Commands& out);      // show, list, find
void AddBuildCommands(CLI::App& app, Commands& out);     // lint, export, build, html
void AddRegistryCommands(CLI::App& app, Commands& out);  // supported, registry check, comcfg
void AddPictureCommands(CLI::App& app, Commands& out);   // picture, rules
void AddDiffCommand(CLI::App& app, Commands& out);
void AddEvalCommand(CLI::App& app, Commands& out);

// A usage error: a value the command cannot take.
inline orvx::Status Usage(std::string message) { return {orvx::Status::Argument, std::move(message)}; }
// A database without a record, where a lookup needs one to answer.
inline orvx::Status NoModels(const std::string& path) {
  return {orvx::Status::Format, path + ": the database holds no models"};
}

inline std::string JsonText(const Json& j) { return j.dump(-1, ' ', false, Json::error_handler_t::replace); }
inline std::string Hex(const BYTE* p, std::size_t n) { return orvx::text::HexBytes(p, n, ' '); }
inline std::string Hex32(DWORD v) { return "0x" + orvx::text::Hex(v, 8); }

// A port descriptor or resource ID in decimal or 0x-prefixed hex.
bool ParseDescriptor(const std::string& text, DWORD& out);

}  // namespace orvdb
