// orvdb: inspect and author model databases with the library's own rules.
#include <CLI/CLI.hpp>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include "db_file.h"
#include "db_json.h"
#include "eval.h"
#include "orvx/picture.h"
#include "picture_call.h"
#include "orvx/afx_host.h"
#include "orvx/comm_config.h"
#include "orvx/model_db.h"
#include "orvx/record_fields.h"
#include "orvx/supported_model.h"
#include "orvx/version.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFallback = 1;
constexpr int kExitUsage = 2;

int Error(const std::string& message) {
  std::cerr << "orvdb: " << message << "\n";
  return kExitUsage;
}

struct FlagName {
  const char* name;
  int (CPrnStaticInfo::*get)() const;
};
constexpr FlagName kFlags[] = {
    {"IXDuplexer", &CPrnStaticInfo::IXDuplexer},
    {"IXMediaPath", &CPrnStaticInfo::IXMediaPath},
    {"IsDetailPropPage", &CPrnStaticInfo::IsDetailPropPage},
    {"IsColorPrinter", &CPrnStaticInfo::IsColorPrinter},
    {"IsOldTypePrinter", &CPrnStaticInfo::IsOldTypePrinter},
    {"IsHddJobEnable", &CPrnStaticInfo::IsHddJobEnable},
    {"IsVantorPrinter", &CPrnStaticInfo::IsVantorPrinter},
    {"IsVantorOEMPrinter", &CPrnStaticInfo::IsVantorOEMPrinter},
    {"IsVantorSelbyCopier", &CPrnStaticInfo::IsVantorSelbyCopier},
    {"IsVantorSelbyOEMCopier", &CPrnStaticInfo::IsVantorSelbyOEMCopier},
    {"IsVantorSelbyMFP", &CPrnStaticInfo::IsVantorSelbyMFP},
    {"IsVantorSelbyADF", &CPrnStaticInfo::IsVantorSelbyADF},
    {"IsVantorSelbyTidelinePrinter", &CPrnStaticInfo::IsVantorSelbyTidelinePrinter},
};

std::string Hex(const BYTE* p, std::size_t n) {
  std::string s;
  char buf[4];
  for (std::size_t i = 0; i < n; ++i) {
    std::snprintf(buf, sizeof buf, "%02x", p[i]);
    if (i) s += ' ';
    s += buf;
  }
  return s;
}

// Lists the entries of a size-list block, marking where it stops making sense.
void PrintSizeLists(std::ostream& out, const std::vector<BYTE>& block) {
  std::size_t at = 1;
  while (at < block.size()) {
    if (at + 2 > block.size() || at + 2 + block[at + 1] > block.size()) {
      out << "    (entry at byte " << at << " runs past the end of the block)\n";
      return;
    }
    const BYTE key = block[at];
    const std::size_t n = block[at + 1];
    const BYTE* payload = block.data() + at + 2;
    const BYTE* zero = key == 10 ? std::find(payload, payload + n, BYTE{0}) : nullptr;
    if (zero && zero != payload + n) {
      const std::string name(payload, zero);
      out << "    tray \"" << name << "\": " << Hex(zero + 1, static_cast<std::size_t>(payload + n - zero - 1)) << "\n";
    } else {
      out << "    tray " << int(key) << ": " << Hex(payload, n) << "\n";
    }
    at += 2 + n;
  }
}

void PrintRecord(std::ostream& out, const CPrnStaticInfo& r) {
  const auto& f = r.Fields();
  out << "ModelName            " << r.GetModelName().str() << "\n";
  for (const auto& d : orvx::RecordFields()) {
    out << d.name << std::string(21 - std::min<std::size_t>(d.name.size(), 20), ' ');
    if (d.name == "Flags") {
      char buf[16];
      std::snprintf(buf, sizeof buf, "0x%08x", static_cast<unsigned>(f.Flags));
      out << buf;
      for (const auto& flag : kFlags)
        if ((r.*flag.get)()) out << ' ' << flag.name;
      if (f.Flags & ~DWORD{0x1FFF}) out << " (other bits)";
    } else {
      out << orvx::ReadField(f, d);
      if (d.key) {
        char buf[24];
        std::snprintf(buf, sizeof buf, "  (key 0x%04X)", static_cast<unsigned>(d.key));
        out << buf;
      }
    }
    out << "\n";
  }
  const int length = r.GetInTraySPSZSizeList(nullptr);
  if (length == 0) {
    out << "InTraySPSZSizeList   none\n";
    return;
  }
  std::vector<BYTE> block(static_cast<std::size_t>(length));
  r.GetInTraySPSZSizeList(block.data());
  out << "InTraySPSZSizeList   " << length << " bytes: " << Hex(block.data(), block.size()) << "\n";
  PrintSizeLists(out, block);
}

// True when the lookup of `key` gave element 0 only because nothing matched.
bool FellBack(const std::string& key, const CPrnStaticInfo* found) {
  const auto records = orvdb::LoadedRecords();
  if (records.empty() || found != records.front()) return false;
  const std::string_view name = found->GetModelName().view();
  if (name == key) return false;
  std::string normalised = key;
  if (normalised.starts_with("hp")) normalised.replace(0, 2, "HP");
  if (normalised.find(name) == std::string::npos) return true;
  return name == "HP" && !normalised.starts_with("HP");
}

int Show(const std::string& db, const std::string& name, bool strict) {
  std::string error;
  if (!orvdb::LoadDatabase(db, error)) return Error(error);
  CPrnStaticInfo* r = GetPointerToCPrnStaticInfo(name.c_str());
  if (!r) return Error(db + ": the database holds no models");
  const bool fellBack = FellBack(name, r);
  if (fellBack) std::cout << "# \"" << name << "\" matches no model; the default model (record 0) answers\n";
  PrintRecord(std::cout, *r);
  CPrnStaticInfoArray_RemoveAll();
  return fellBack && strict ? kExitFallback : kExitOk;
}

int List(const std::string& db) {
  std::string error;
  if (!orvdb::LoadDatabase(db, error)) return Error(error);
  int i = 0;
  for (const CPrnStaticInfo* r : orvdb::LoadedRecords()) {
    char line[64];
    std::snprintf(line, sizeof line, "%5d  vendor %-3d group %-4d  ", i++, r->GetVenderID(), r->GetModelGroupID());
    std::cout << line << r->GetModelName().str() << "\n";
  }
  CPrnStaticInfoArray_RemoveAll();
  return kExitOk;
}

int Export(const std::string& db) {
  std::string error;
  if (!orvdb::LoadDatabase(db, error)) return Error(error);
  orvdb::Json models = orvdb::Json::array();
  for (const CPrnStaticInfo* r : orvdb::LoadedRecords()) models.push_back(orvdb::RecordToJson(*r));
  CPrnStaticInfoArray_RemoveAll();
  std::cout << orvdb::Json{{"models", std::move(models)}}.dump(2) << "\n";
  return kExitOk;
}

int Build(const std::string& source, const std::string& output) {
  std::ifstream in(source, std::ios::binary);
  if (!in) return Error(source + ": cannot open");
  orvdb::Json document;
  try {
    document = orvdb::Json::parse(in);
  } catch (const orvdb::Json::parse_error& e) {
    return Error(source + ": not valid JSON (" + e.what() + ")");
  }
  try {
    const auto records = orvdb::ModelsFromJson(document);
    std::string error;
    if (!orvdb::StoreDatabase(output, records, error)) return Error(error);
  } catch (const orvdb::ImportError& e) {
    return Error(source + ": " + e.what());
  }
  return kExitOk;
}

// A port descriptor in decimal or 0x-prefixed hex.
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

// ---- picture IDs -----------------------------------------------------------------

struct PictureOptions {
  std::string db = "ORVDB.dat";
  std::string model;
  int vendor = -1, group = -1;
  std::string modelName;
  std::vector<std::string> in, out, options, docOptions, strings;
  bool duplex = false, classic = false, json = false;
  int outputUnit = 0;
};

int Picture(const PictureOptions& o) {
  const bool fresh = o.vendor >= 0 || o.group >= 0;
  if (fresh == !o.model.empty()) return Error("give either MODEL or --vendor and --group");
  if (fresh && (o.vendor < 0 || o.group < 0)) return Error("--vendor and --group go together");
  orvdb::PictureRequest r;
  r.extended = !o.classic;
  for (const auto& n : o.in) r.in.push_back({n});
  for (const auto& n : o.out) r.out.push_back({n});
  r.options = o.options;
  r.docOptions = o.docOptions;
  r.duplexUnit = o.duplex ? 1 : 0;
  r.outputUnit = o.outputUnit;
  for (const auto& s : o.strings) {
    const auto eq = s.find('=');
    DWORD id = 0;
    if (eq == std::string::npos || !ParseDescriptor(s.substr(0, eq), id))
      return Error("--string: \"" + s + "\" is not ID=TEXT");
    r.strings[id] = s.substr(eq + 1);
  }

  std::unique_ptr<CPrnStaticInfo> own;
  CPrnStaticInfo* record = nullptr;
  bool fellBack = false;
  if (fresh) {
    own = std::make_unique<CPrnStaticInfo>();
    own->SetVenderID(static_cast<WORD>(o.vendor));
    own->SetModelGroupID(static_cast<WORD>(o.group));
    if (!o.modelName.empty()) own->SetModelName(o.modelName);
    record = own.get();
  } else {
    std::string error;
    if (!orvdb::LoadDatabase(o.db, error)) return Error(error);
    record = GetPointerToCPrnStaticInfo(o.model.c_str());
    if (!record) return Error(o.db + ": the database holds no models");
    fellBack = FellBack(o.model, record);
  }
  const orvdb::PictureResult result = orvdb::CallPicture(*record, r);
  const orvx::PictureRoute route = orvx::ChoosePictureRule(record->GetVenderID(), record->GetModelGroupID(), !o.classic);
  std::vector<DWORD> bits;
  for (int b = 0; b < 32; ++b)
    if (result.pictureId & (DWORD{1} << b)) bits.push_back(DWORD{1} << b);
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%08x", static_cast<unsigned>(result.pictureId));

  if (o.json) {
    orvdb::Json j;
    j["model"] = record->GetModelName().str();
    j["vendor"] = record->GetVenderID();
    j["group"] = record->GetModelGroupID();
    j["defaultModel"] = fellBack;
    j["entry"] = o.classic ? "GetPictureID" : "GetPictureIDEx";
    j["rule"] = route.rule ? orvdb::Json(route.rule) : orvdb::Json(nullptr);
    j["pictureId"] = result.pictureId;
    j["pictureIdHex"] = hex;
    j["bits"] = bits;
    for (const auto* list : {&result.in, &result.out}) {
      auto& arr = j[list == &result.in ? "inTrays" : "outTrays"] = orvdb::Json::array();
      for (const auto& t : *list) arr.push_back({{"name", t.name}, {"id", t.id}});
    }
    std::cout << j.dump(-1, ' ', false, orvdb::Json::error_handler_t::replace) << "\n";
  } else {
    std::cout << "model        " << record->GetModelName().str() << " (vendor " << record->GetVenderID() << ", group "
              << record->GetModelGroupID() << ")" << (fellBack ? " [default model: no name matched]" : "") << "\n";
    std::cout << "rule         "
              << (route.rule ? route.rule : route.fixedResult ? "none (fixed result)" : "none (no rule for this group)")
              << "\n";
    std::cout << "picture ID   " << hex << "\n";
    std::cout << "bits        ";
    for (DWORD b : bits) {
      std::snprintf(hex, sizeof hex, " 0x%x", static_cast<unsigned>(b));
      std::cout << hex;
    }
    std::cout << (bits.empty() ? " none\n" : "\n");
    for (const auto* list : {&result.in, &result.out}) {
      const char* title = list == &result.in ? "in-tray      " : "out-tray     ";
      for (const auto& t : *list) std::cout << title << "\"" << t.name << "\" -> ID " << t.id << "\n";
    }
  }
  if (!fresh) CPrnStaticInfoArray_RemoveAll();
  return kExitOk;
}

// ---- registry-backed commands ------------------------------------------------------

int Supported(const std::string& model, DWORD interfaceNumber, const std::string& path, bool direct) {
  CSupportedModel lists(direct ? 0 : 1);
  if (!path.empty()) lists.SetRegistoryPath(path.c_str());
  const LONG code = lists.CheckModel(model.c_str(), interfaceNumber);
  const char* meaning = code == CSupportedModel::kSupported        ? "supported"
                        : code == CSupportedModel::kListedUnsupported ? "listed as unsupported"
                                                                      : "not supported";
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%08x", static_cast<unsigned>(code));
  std::cout << model << ": " << meaning << " (" << hex << ")\n";
  return code == CSupportedModel::kSupported ? kExitOk : kExitFallback;
}

int RegistryCheck(const std::string& file) {
  std::string error;
  int line = 0;
  if (orvx::registry::CheckFile(file, error, line)) {
    std::cout << file << ": ok\n";
    return kExitOk;
  }
  if (line == 0) return Error(file + ": " + error);
  std::cerr << file << ":" << line << ": " << error << "\n";
  return kExitFallback;
}

bool ParseHex(const std::string& text, std::vector<BYTE>& out) {
  std::string digits;
  for (char c : text)
    if (!std::isspace(static_cast<unsigned char>(c))) digits += c;
  if (digits.size() % 2) return false;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    unsigned v = 0;
    if (std::sscanf(digits.substr(i, 2).c_str(), "%2x", &v) != 1 || !std::isxdigit(static_cast<unsigned char>(digits[i])) ||
        !std::isxdigit(static_cast<unsigned char>(digits[i + 1])))
      return false;
    out.push_back(static_cast<BYTE>(v));
  }
  return true;
}

// Binary configurations pass through standard input and output unchanged
// (Windows would translate line ends and stop at ^Z).
void BinaryStream(std::FILE* stream) {
#if defined(_WIN32)
  _setmode(_fileno(stream), _O_BINARY);
#else
  (void)stream;
#endif
}

int ComCfgSave(DWORD port, bool hex) {
  if (!hex) BinaryStream(stdin);
  std::string input((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
  std::vector<BYTE> bytes;
  if (hex) {
    if (!ParseHex(input, bytes)) return Error("standard input: not a sequence of hex byte pairs");
  } else {
    bytes.assign(input.begin(), input.end());
  }
  DWORD size = 0;
  if (bytes.size() < sizeof size) return Error("standard input: a configuration needs at least its 4-byte dwSize");
  std::memcpy(&size, bytes.data(), sizeof size);
  if (size < sizeof size || size > bytes.size())
    return Error("standard input: dwSize is " + std::to_string(size) + " but " + std::to_string(bytes.size()) +
                 " bytes were given");
  bytes.resize(std::max<std::size_t>(bytes.size(), sizeof(COMMCONFIG)));
  if (!ORVX_SaveCommCfg(port, reinterpret_cast<COMMCONFIG*>(bytes.data())))
#if defined(_WIN32)
    return Error("could not write the configuration to the registry");
#else
    return Error("could not write the configuration to " + orvx::host::RegistryFile(HKEY_CURRENT_USER));
#endif
  return kExitOk;
}

int ComCfgLoad(DWORD port, bool hex) {
  std::vector<BYTE> buffer(256, 0);
  if (!ORVX_LoadCommCfg(port, reinterpret_cast<COMMCONFIG*>(buffer.data()))) {
    std::cerr << "orvdb: no configuration stored for COM" << ((port >> 4) & 0xF) << "\n";
    return kExitFallback;
  }
  DWORD size = 0;
  std::memcpy(&size, buffer.data(), sizeof size);
  size = std::min<DWORD>(size, 256);
  if (hex) {
    std::cout << Hex(buffer.data(), size) << "\n";
  } else {
    std::cout.flush();
    BinaryStream(stdout);
    std::cout.write(reinterpret_cast<const char*>(buffer.data()), size);
  }
  return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"orvdb: inspect and author printer model databases (ORVDB.dat)"};
  // "/path" is a path on every platform, never a Windows-style option.
  app.allow_windows_style_options(false);
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("orvdb ") + orvx::kVersion);
  std::string db = "ORVDB.dat";

  auto* show = app.add_subcommand("show", "Look a model up with the library's rules and print every field");
  std::string name;
  bool strict = false;
  show->add_option("--db", db, "Database file (default: ORVDB.dat in the current directory)");
  show->add_option("NAME", name, "Model name to look up")->required();
  show->add_flag("--strict", strict, "Exit with 1 when the name matches no model and the default model answers");

  auto* list = app.add_subcommand("list", "List every model in file order");
  list->add_option("--db", db, "Database file (default: ORVDB.dat in the current directory)");

  auto* exp = app.add_subcommand("export", "Write the database as JSON on standard output");
  exp->add_option("--db", db, "Database file (default: ORVDB.dat in the current directory)");

  auto* build = app.add_subcommand("build", "Build a database file from its JSON form");
  std::string source, output;
  build->add_option("MODELS", source, "JSON file ({\"models\": [...]})")->required();
  build->add_option("-o,--output", output, "Database file to write")->required();

  auto* supported = app.add_subcommand("supported", "Ask whether a model is supported over an interface");
  std::string model, regPath;
  DWORD interfaceNumber = 0;
  bool direct = false;
  supported->add_option("MODEL", model, "Model name")->required();
  supported->add_option("--interface", interfaceNumber, "Interface number (1 to 5)")->required();
  supported->add_option("--path", regPath, "Registry path below HKEY_LOCAL_MACHINE (default: SOFTWARE\\Vantor Selby\\APP)");
  supported->add_flag("--direct", direct, "Read the registry at the question instead of loading the lists first");

  auto* registry = app.add_subcommand("registry", "Registry store files");
  auto* check = registry->add_subcommand("check", "Parse a store file and report the first error with its line");
  std::string storeFile;
  check->add_option("FILE", storeFile, "Store file (.reg text)")->required();
  registry->require_subcommand(1);

  auto* comcfg = app.add_subcommand("comcfg", "Save or load a COM port's serial configuration");
  std::string action, portText;
  bool hex = false;
  comcfg->add_option("ACTION", action, "save (configuration on standard input) or load (on standard output)")
      ->required()
      ->check(CLI::IsMember({"save", "load"}));
  comcfg->add_option("--port", portText, "Port descriptor; the port number is bits 4 to 7 (0x20 is COM2)")->required();
  comcfg->add_flag("--hex", hex, "Hex text instead of binary");

  auto* picture = app.add_subcommand("picture", "Compute the picture ID of a machine configuration");
  PictureOptions po;
  picture->add_option("MODEL", po.model, "Model name, looked up with the library's rules");
  picture->add_option("--db", po.db, "Database file (default: ORVDB.dat in the current directory)");
  picture->add_option("--vendor", po.vendor, "Vendor ID of a fresh record, instead of MODEL")->check(CLI::Range(0, 65535));
  picture->add_option("--group", po.group, "Model group ID of a fresh record, instead of MODEL")->check(CLI::Range(0, 65535));
  picture->add_option("--model-name", po.modelName, "Model name of the fresh record");
  picture->add_option("--in", po.in, "Installed input trays, in order");
  picture->add_option("--out", po.out, "Installed output trays, in order");
  picture->add_option("--option", po.options, "Installed option units (extended entry)");
  picture->add_option("--doc-option", po.docOptions, "Installed document units (extended entry)");
  picture->add_flag("--duplex", po.duplex, "A duplex unit is installed (classic entry)");
  picture->add_option("--output-unit", po.outputUnit, "Output unit value (classic entry)");
  picture->add_flag("--classic", po.classic, "Call GetPictureID instead of GetPictureIDEx");
  picture->add_option("--string", po.strings, "A host string resource, ID=TEXT (9481 manual tray, 9482 default tray)");
  picture->add_flag("--json", po.json, "Print one JSON object");

  auto* eval = app.add_subcommand("eval", "Answer JSON Lines requests from standard input, one line each");

  std::string appName = "orvx", registryKey;
  for (auto* sub : {supported, comcfg}) {
    sub->add_option("--app", appName, "Host application name (default: orvx)");
    sub->add_option("--key", registryKey, "Host registry key (default: none)");
  }

  if (argc > 1 && argv[1][0] != '-') {
    bool known = false;
    for (const auto* sub : app.get_subcommands({})) known = known || sub->get_name() == argv[1];
    if (!known) return Error(std::string("unknown command \"") + argv[1] + "\"; see orvdb --help");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    return Error(e.what());
  }

  if (*show) return Show(db, name, strict);
  if (*list) return List(db);
  if (*exp) return Export(db);
  if (*build) return Build(source, output);
  if (*picture) return Picture(po);
  if (*eval) {
    std::ios::sync_with_stdio(false);
    orvdb::Evaluator evaluator;
    evaluator.Run(std::cin, std::cout);
    return kExitOk;
  }
  orvx::host::SetAppName(appName);
  orvx::host::SetRegistryKey(registryKey);
  if (*supported) return Supported(model, interfaceNumber, regPath, direct);
  if (*check) return RegistryCheck(storeFile);
  if (*comcfg) {
    DWORD port = 0;
    if (!ParseDescriptor(portText, port)) return Error("--port: \"" + portText + "\" is not a number");
    return action == "save" ? ComCfgSave(port, hex) : ComCfgLoad(port, hex);
  }
  return kExitUsage;
}
