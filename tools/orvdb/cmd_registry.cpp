// orvdb supported, registry check and comcfg: the commands that read or write
// the registry store.
#include <cctype>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>

#include "commands.h"
#include "db_file.h"
#include "orvx/afx_host.h"
#include "orvx/comm_store.h"
#include "orvx/registry_check.h"
#include "orvx/supported_model.h"

namespace orvdb {
namespace {

// Exits 3 and 4 answer `supported` about the machine's store; for any other
// command a missing or malformed store is a file it cannot use, like any other.
orvx::Status AsFileFailure(orvx::Status e) {
  if (e.code == orvx::Status::NoStore) e.code = orvx::Status::NotFound;
  if (e.code == orvx::Status::BadStore) e.code = orvx::Status::Format;
  return e;
}

Outcome Supported(const std::string& model, DWORD interfaceNumber, const std::string& path, bool direct, bool json) {
#if !defined(_WIN32)
  // A missing or malformed store is not an answer about the model.
  const std::string store = orvx::host::RegistryFile(HKEY_LOCAL_MACHINE);
  std::error_code ec;
  if (!std::filesystem::exists(store, ec))
    return orvx::Status{orvx::Status::NoStore, "no registry store file " + store + " (set ORVX_HKLM_FILE)"};
  if (orvx::Status e = orvx::registry::CheckFile(store); e.Failed()) return e;
#endif
  CSupportedModel lists(direct ? 0 : 1);
  if (!path.empty()) lists.SetRegistoryPath(path.c_str());
  const LONG code = lists.CheckModel(model.c_str(), interfaceNumber);
  const char* meaning = code == CSupportedModel::kSupported        ? "supported"
                        : code == CSupportedModel::kListedUnsupported ? "listed as unsupported"
                                                                      : "not supported";
  const std::string hex = Hex32(static_cast<DWORD>(code));
  if (json)
    std::cout << JsonText({{"model", model}, {"interface", interfaceNumber}, {"answer", meaning}, {"code", hex}}) << "\n";
  else
    std::cout << model << ": " << meaning << " (" << hex << ")\n";
  return code == CSupportedModel::kSupported ? kExitOk : kExitFallback;
}

// A malformed store is the answer (its first error, with the line); a file
// that cannot be read is a failure like any other file's, also when missing.
Outcome RegistryCheck(const std::string& file) {
  orvx::Status e = orvx::registry::CheckFile(file);
  if (!e.Failed()) {
    std::cout << file << ": ok\n";
    return kExitOk;
  }
  if (e.code != orvx::Status::BadStore) return AsFileFailure(std::move(e));
  std::cerr << e.message << "\n";
  return kExitFallback;
}

bool ParseHex(const std::string& text, std::vector<BYTE>& out) {
  std::string digits;
  for (char c : text)
    if (!std::isspace(static_cast<unsigned char>(c))) digits += c;
  if (digits.size() % 2) return false;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int high = orvx::text::HexDigit(digits[i]), low = orvx::text::HexDigit(digits[i + 1]);
    if (high < 0 || low < 0) return false;
    out.push_back(static_cast<BYTE>(high * 16 + low));
  }
  return true;
}

Outcome ComCfgSave(DWORD port, bool hex) {
  if (!hex) BinaryStream(stdin);
  // No more is read than a configuration can take (as hex: three characters a byte and line breaks).
  const std::size_t limit = hex ? 4 * orvx::kCommConfigMax : orvx::kCommConfigMax;
  std::string input(limit + 1, '\0');
  std::cin.read(input.data(), static_cast<std::streamsize>(input.size()));
  input.resize(static_cast<std::size_t>(std::cin.gcount()));
  if (input.size() > limit)
    return Usage("standard input: more than " + std::to_string(limit) + (hex ? " characters of hex text" : " bytes") +
                 "; a configuration has at most " + std::to_string(orvx::kCommConfigMax) + " bytes");
  std::vector<BYTE> bytes;
  if (hex) {
    if (!ParseHex(input, bytes)) return Usage("standard input: not a sequence of hex byte pairs");
  } else {
    bytes.assign(input.begin(), input.end());
  }
  DWORD size = 0;
  if (bytes.size() < sizeof size) return Usage("standard input: a configuration needs at least its 4-byte dwSize");
  std::memcpy(&size, bytes.data(), sizeof size);
  if (size < sizeof size || size > bytes.size())
    return Usage("standard input: dwSize is " + std::to_string(size) + " but " + std::to_string(bytes.size()) +
                 " bytes were given");
  if (size > orvx::kCommConfigMax)
    return Usage("standard input: a configuration of " + std::to_string(size) + " bytes could never be loaded back (at most " +
                 std::to_string(orvx::kCommConfigMax) + ")");
  if (orvx::Status e = orvx::SaveCommConfig(port, {bytes.data(), size}); e.Failed()) return AsFileFailure(std::move(e));
  std::cerr << "orvdb: stored " << orvx::CommValueName(port) << " (" << size << " bytes)\n";
  return kExitOk;
}

// Prints the stored bytes, as many as are stored: the dwSize inside them is
// the caller's claim, not the store's.
Outcome ComCfgLoad(DWORD port, bool hex) {
  orvx::Result<std::vector<BYTE>> config = orvx::ReadCommConfig(port);
  if (!config && config.status().code == orvx::Status::NotFound) {
    std::cerr << "orvdb: " << config.status().message << "\n";  // a negative answer, not a failure
    return kExitFallback;
  }
  if (!config) return AsFileFailure(std::move(config).status());
  if (hex) {
    std::cout << Hex(config->data(), config->size()) << "\n";
  } else {
    std::cout.flush();
    BinaryStream(stdout);
    std::cout.write(reinterpret_cast<const char*>(config->data()), static_cast<std::streamsize>(config->size()));
  }
  return kExitOk;
}

// The host's name and key, which the registry-backed commands read or write
// under; both name a registry key, so what would break the store's lines is
// refused before any of them runs.
struct HostOptions {
  std::string appName = "orvx", registryKey;

  void AddTo(CLI::App* sub) {
    sub->add_option("--app", appName, "Host application name (default: orvx)");
    sub->add_option("--key", registryKey, "Host registry key (default: none)");
  }
  orvx::Status Apply() const {
    for (const auto& [option, name] : {std::pair{"--app: the application name", &appName}, {"--key: the registry key", &registryKey}})
      if (const std::string problem = orvx::registry::NameProblem(*name, option); !problem.empty()) return Usage(problem);
    orvx::host::SetAppName(appName);
    orvx::host::SetRegistryKey(registryKey);
    return {};
  }
};

}  // namespace

bool ParseDescriptor(const std::string& text, DWORD& out) {
  try {
    std::size_t used = 0;
    const unsigned long long v = std::stoull(text, &used, 0);
    if (used != text.size() || v > 0xFFFFFFFFull) return false;
    out = static_cast<DWORD>(v);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void AddRegistryCommands(CLI::App& app, Commands& out) {
  struct Options : HostOptions {
    std::string model, regPath, storeFile, action, portText;
    DWORD interfaceNumber = 0;
    bool direct = false, json = false, hex = false;
  };
  const auto o = std::make_shared<Options>();
  // The host's name and key first, then the command.
  const auto run = [o](auto command) {
    return [o, command]() -> Outcome {
      if (orvx::Status e = o->Apply(); e.Failed()) return e;
      return command();
    };
  };

  auto* supported = app.add_subcommand("supported", "Ask whether a model is supported over an interface");
  supported->add_option("MODEL", o->model, "Model name")->required();
  supported->add_option("--interface", o->interfaceNumber, "Interface number (1 to 5)")->required()->check(CLI::Range(1, 5));
  supported->add_option("--path", o->regPath, "Registry path below HKEY_LOCAL_MACHINE (default: SOFTWARE\\Vantor Selby\\APP)");
  supported->add_flag("--direct", o->direct, "Read the registry at the question instead of loading the lists first");
  supported->add_flag("--json", o->json, "Print JSON");
  o->AddTo(supported);
  out.push_back({supported, run([o] { return Supported(o->model, o->interfaceNumber, o->regPath, o->direct, o->json); })});

  auto* registry = app.add_subcommand("registry", "Registry store files");
  auto* check = registry->add_subcommand("check", "Parse a store file and report the first error with its line");
  check->add_option("FILE", o->storeFile, "Store file (.reg text)")->required();
  registry->require_subcommand(1);
  out.push_back({check, run([o] { return RegistryCheck(o->storeFile); })});

  auto* comcfg = app.add_subcommand("comcfg", "Save or load a COM port's serial configuration");
  comcfg->add_option("ACTION", o->action, "save (configuration on standard input) or load (on standard output)")
      ->required()
      ->check(CLI::IsMember({"save", "load"}));
  comcfg->add_option("--port", o->portText, "Port descriptor; the port number is bits 4 to 7 (0x20 is COM2)")->required();
  comcfg->add_flag("--hex", o->hex, "Hex text instead of binary");
  o->AddTo(comcfg);
  out.push_back({comcfg, run([o]() -> Outcome {
                   DWORD port = 0;
                   if (!ParseDescriptor(o->portText, port)) return Usage("--port: \"" + o->portText + "\" is not a number");
                   return o->action == "save" ? ComCfgSave(port, o->hex) : ComCfgLoad(port, o->hex);
                 })});
}

}  // namespace orvdb
