// orvdb: inspect and author model databases with the library's own rules.
#include <CLI/CLI.hpp>
#include <cctype>
#include <cstdio>
#include <iostream>

#include "commands.h"
#include "exit_status.h"
#include "orvx/version.h"

namespace {

// Every failure leaves the tool here: one line on standard error, and the exit code of its kind.
int Report(const orvx::Status& failure) { return orvdb::Report(failure, std::cerr); }
int Refuse(std::string usage) { return Report(orvdb::Usage(std::move(usage))); }

// The first option word that neither the chosen command nor the tool knows.
// Values that look like numbers ("-1") are left to the options that take them.
std::string UnknownOption(const CLI::App& app, int argc, char** argv) {
  const CLI::App* sub = &app;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--") break;
    if (arg.size() < 2 || arg[0] != '-' || std::isdigit(static_cast<unsigned char>(arg[1]))) {
      for (const CLI::App* s : sub->get_subcommands({}))
        if (s->get_name() == arg) sub = s;
      continue;
    }
    const std::string name = arg.substr(0, arg.find('='));
    const bool known = sub->get_option_no_throw(name) || app.get_option_no_throw(name) ||
                       (name.size() > 2 && name[1] != '-' && sub->get_option_no_throw(name.substr(0, 2)));
    if (!known) return name;
  }
  return {};
}

// An option word: "-x" or "--name", but not "-" (standard output) or a
// negative number ("-1").
bool IsOptionWord(std::string_view arg) {
  return arg.size() >= 2 && arg[0] == '-' && !std::isdigit(static_cast<unsigned char>(arg[1]));
}

// An option that takes values but is given none, or is followed by another
// option, which CLI11 would take as its value ("--in --out" would make a tray
// named "--out"). A value that begins with "-" is given as --in=VALUE.
std::string MissingValue(const CLI::App& app, int argc, char** argv) {
  const CLI::App* sub = &app;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--") break;
    if (!IsOptionWord(arg)) {
      for (const CLI::App* s : sub->get_subcommands({}))
        if (s->get_name() == arg) sub = s;
      continue;
    }
    const CLI::Option* opt = sub->get_option_no_throw(arg);
    if (!opt) opt = app.get_option_no_throw(arg);
    if (!opt || opt->get_expected_max() == 0) continue;  // a flag, or a value attached with "="
    if (i + 1 == argc) return arg + " needs a value";
    if (IsOptionWord(argv[i + 1]))
      return arg + " needs a value, and \"" + argv[i + 1] + "\" is an option (a value that begins with \"-\" goes as " +
             arg + "=VALUE)";
  }
  return {};
}

int Run(int argc, char** argv) {
  CLI::App app{"orvdb: inspect and author printer model databases (ORVDB.dat)"};
  // "/path" is a path on every platform, never a Windows-style option.
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("orvdb ") + orvx::kVersion);
  app.footer(
      "Exit codes:\n"
      "  0  success\n"
      "  1  a negative answer: no model matched (show --strict, picture --strict, find), not supported,\n"
      "     lint findings, diff found what --fail-on names\n"
      "  2  a usage error, or a file or output that cannot be read or written\n"
      "  3  supported: the registry store file is missing\n"
      "  4  supported: the registry store file is malformed\n"
      "  5  comcfg load: the stored value is not binary\n"
      "  6  comcfg load: the stored value is empty\n"
      "  7  comcfg load: the stored value is larger than 256 bytes\n"
      "Environment:\n"
      "  ORVX_HKLM_FILE  the machine hive's registry store (default /etc/orvx/hklm.reg)\n"
      "  ORVX_HKCU_FILE  the user hive's registry store (default $XDG_CONFIG_HOME/orvx/hkcu.reg)");
  orvdb::Commands commands;
  orvdb::AddShowCommands(app, commands);
  orvdb::AddBuildCommands(app, commands);
  orvdb::AddRegistryCommands(app, commands);
  orvdb::AddPictureCommands(app, commands);
  orvdb::AddDiffCommand(app, commands);
  orvdb::AddEvalCommand(app, commands);

  if (argc > 1 && argv[1][0] != '-') {
    bool known = false;
    for (const auto* sub : app.get_subcommands({})) known = known || sub->get_name() == argv[1];
    if (!known) return Refuse(std::string("unknown command \"") + argv[1] + "\"; see orvdb --help");
  }
  // Name an unknown option before CLI11 complains about what is missing.
  if (const std::string unknown = UnknownOption(app, argc, argv); !unknown.empty())
    return Refuse("unknown option \"" + unknown + "\"; see orvdb " + (argc > 1 ? std::string(argv[1]) + " " : "") + "--help");
  if (std::string problem = MissingValue(app, argc, argv); !problem.empty()) return Refuse(std::move(problem));
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    return Refuse(e.what());
  }

  for (const orvdb::Command& command : commands) {
    if (!*command.sub) continue;
    const orvdb::Outcome outcome = command.run();
    return outcome ? outcome.value() : Report(outcome.status());
  }
  return Refuse("no command; see orvdb --help");
}

}  // namespace

// Every answer goes to standard output; one that did not arrive (a full disk,
// a closed pipe) must not end in success.
int main(int argc, char** argv) {
  int status;
  try {
    status = Run(argc, argv);
  } catch (const std::exception& e) {
    status = Report({orvx::Status::Io, std::string("unexpected failure: ") + e.what()});
  }
  std::cout.flush();
  if (!std::cout.good() || std::fflush(stdout) != 0 || std::ferror(stdout)) {
    return Report({orvx::Status::Io, "write error"});
  }
  return status;
}
