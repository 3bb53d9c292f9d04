// orvdb: inspect and author model databases with the library's own rules.
#include <CLI/CLI.hpp>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <optional>
#include <span>
#include <fstream>
#include <iostream>
#include <sstream>

#include "db_file.h"
#include "db_json.h"
#include "diff.h"
#include "eval.h"
#include "field_notes.h"
#include "html_page.h"
#include "lint.h"
#include "orvx/afx_host.h"
#include "orvx/comm_store.h"
#include "orvx/database.h"
#include "orvx/picture.h"
#include "orvx/record_fields.h"
#include "orvx/registry_check.h"
#include "orvx/size_list.h"
#include "orvx/supported_model.h"
#include "orvx/text.h"
#include "orvx/version.h"
#include "orvx/whole_file.h"
#include "picture_call.h"
#include "rules.h"

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFallback = 1;  // a negative answer: no match, not supported, findings
constexpr int kExitUsage = 2;     // a usage error, or a file that cannot be read or written
constexpr int kExitNoStore = 3;   // the registry store file is missing
constexpr int kExitBadStore = 4;  // the registry store file is malformed
constexpr int kExitWrongType = 5;   // comcfg load: the stored value is no binary value
constexpr int kExitEmptyValue = 6;  // comcfg load: the stored value is empty
constexpr int kExitTooLarge = 7;    // comcfg load: the stored value is too large to load

int Status(const std::string& message) {
  std::cerr << "orvdb: " << message << "\n";
  return kExitUsage;
}

std::string Hex(const BYTE* p, std::size_t n) { return orvx::text::HexBytes(p, n, ' '); }
std::string Hex32(DWORD v) { return "0x" + orvx::text::Hex(v, 8); }

// Lists the entries of a size-list block, marking where it stops making sense.
void PrintSizeLists(std::ostream& out, std::span<const BYTE> block) {
  orvx::SizeListReader reader(block);
  for (orvx::SizeListEntry e; reader.Next(e);) {
    const auto sizes = e.Sizes();
    if (e.Named())
      out << "    tray "  // printable text as it is, anything else escaped as lint shows it
          << (orvdb::Unprintable(e.Name()) == std::string_view::npos ? '"' + std::string(e.Name()) + '"' : orvdb::Escaped(e.Name()))
          << ": " << Hex(sizes.data(), sizes.size()) << "\n";
    else
      out << "    tray " << int(e.key) << ": " << Hex(sizes.data(), sizes.size()) << "\n";
  }
  if (reader.Problem().Failed()) out << "    (" << reader.Problem().message << ")\n";
}

// Where GetInfo answers other than the stored value, what it answers and why.
std::string InfoNote(const CPrnStaticInfo& r, const orvx::FieldDesc& d) {
  const std::int64_t stored = orvx::ReadField(r.Fields(), d);
  const int answer = r.GetInfo(d.key);
  if (answer == stored) return {};
  return "; GetInfo answers " + std::to_string(answer) +
         (d.ffMeansUnset && stored == 0xFF ? ": 255 means not set"
                                           : ": an int, so values above 2147483647 come back negative");
}

// One line of a field: its name, the value as `text`, and its one-line
// meaning in a column of its own.
void FieldLine(std::ostream& out, std::string_view field, const std::string& text) {
  std::string line(field);
  line += std::string(21 - std::min<std::size_t>(field.size(), 20), ' ') + text;
  if (line.size() < 52) line.resize(52, ' ');
  out << line << "  # " << orvdb::FieldNoteOf(field) << "\n";
}

void PrintRecord(std::ostream& out, const CPrnStaticInfo& r) {
  const auto& f = r.Fields();
  FieldLine(out, "ModelName", r.GetModelName().str());
  for (const auto& d : orvx::RecordFields()) {
    std::string text;
    if (d.name == "Flags") {
      text = Hex32(f.Flags);
      for (const auto& flag : orvx::RecordFlags())
        if ((r.*flag.get)()) text += ' ' + std::string(flag.name);
      if (f.Flags & ~orvx::kDefinedFlagBits) text += " (other bits)";
    } else {
      text = std::to_string(orvx::ReadField(f, d));
      if (d.key) {
        char buf[24];
        std::snprintf(buf, sizeof buf, "  (key 0x%04X", static_cast<unsigned>(d.key));
        text += buf + InfoNote(r, d) + ")";
      }
    }
    FieldLine(out, d.name, text);
  }
  const int length = r.GetInTraySPSZSizeList(nullptr);
  if (length == 0) {
    FieldLine(out, "InTraySPSZSizeList", "none");
    return;
  }
  std::vector<BYTE> block(static_cast<std::size_t>(length));
  r.GetInTraySPSZSizeList(block.data());
  FieldLine(out, "InTraySPSZSizeList", std::to_string(length) + " bytes: " + Hex(block.data(), block.size()));
  PrintSizeLists(out, block);
}

std::string JsonText(const orvdb::Json& j) { return j.dump(-1, ' ', false, orvdb::Json::error_handler_t::replace); }

int Show(const std::string& path, const std::string& name, bool strict, bool json) {
  orvx::ModelDatabase db;
  if (const orvx::Status e = orvx::detail::LoadFile(path, db); e.Failed()) return Status(e.message);
  const orvx::LookupResult found = db.Lookup(name);
  if (found.index < 0) return Status(path + ": the database holds no models");
  const CPrnStaticInfo& r = db[static_cast<std::size_t>(found.index)];
  const bool fellBack = found.how == orvx::Match::Default;
  if (json) {
    orvdb::Json j = {{"index", found.index}, {"match", orvx::MatchName(found.how)}};
    j["record"] = orvdb::RecordToJson(r);
    // The keys whose GetInfo answer is not the stored value.
    orvdb::Json answers = orvdb::Json::object();
    for (const auto& d : orvx::RecordFields())
      if (d.key && r.GetInfo(d.key) != orvx::ReadField(r.Fields(), d)) answers[std::string(d.name)] = r.GetInfo(d.key);
    j["getInfo"] = std::move(answers);
    std::cout << JsonText(j) << "\n";
  } else {
    if (fellBack) std::cout << "# \"" << name << "\" matches no model; the default model (record 0) answers\n";
    PrintRecord(std::cout, r);
  }
  return fellBack && strict ? kExitFallback : kExitOk;
}

int List(const std::string& path, bool json) {
  orvx::ModelDatabase db;
  if (const orvx::Status e = orvx::detail::LoadFile(path, db); e.Failed()) return Status(e.message);
  orvdb::Json all = orvdb::Json::array();
  for (std::size_t i = 0; i < db.size(); ++i) {
    const CPrnStaticInfo& r = db[i];
    if (json) {
      all.push_back({{"index", i}, {"name", r.GetModelName().str()}, {"vendor", r.GetVenderID()},
                     {"group", r.GetModelGroupID()}});
      continue;
    }
    char line[64];
    std::snprintf(line, sizeof line, "%5zu  vendor %-3d group %-4d  ", i, r.GetVenderID(), r.GetModelGroupID());
    std::cout << line << r.GetModelName().str() << "\n";
  }
  if (json) std::cout << JsonText(all) << "\n";
  return kExitOk;
}

// Every model whose name contains `text`, ignoring letter case.
int Find(const std::string& path, const std::string& text) {
  orvx::ModelDatabase db;
  if (const orvx::Status e = orvx::detail::LoadFile(path, db); e.Failed()) return Status(e.message);
  const auto lower = [](std::string_view s) { return orvx::text::FoldCase(s); };
  const std::string needle = lower(text);
  bool any = false;
  for (std::size_t i = 0; i < db.size(); ++i) {
    const std::string& name = db[i].GetModelName().str();
    if (lower(name).find(needle) == std::string::npos) continue;
    std::cout << std::setw(5) << i << "  " << name << "\n";
    any = true;
  }
  return any ? kExitOk : kExitFallback;
}

int Export(const std::string& path) {
  orvx::ModelDatabase db;
  if (const orvx::Status e = orvx::detail::LoadFile(path, db); e.Failed()) return Status(e.message);
  // One record at a time, one key a line (values on one line each, size
  // lists one tray a line): line-oriented diffs of two exports read well.
  std::cout << "{\"models\": [";
  std::string text;
  for (std::size_t i = 0; i < db.size(); ++i) {
    text += i ? ",\n  {" : "\n  {";
    const orvdb::Json r = orvdb::RecordToJson(db[i]);
    bool first = true;
    for (const auto& [key, value] : r.items()) {
      text += first ? "\n    " : ",\n    ";
      first = false;
      text += '"' + key + "\": ";  // the keys are field names: nothing to escape
      if (value.is_number_integer()) {
        text += value.is_number_unsigned() ? std::to_string(value.get<std::uint64_t>())
                                           : std::to_string(value.get<std::int64_t>());
        continue;
      }
      if (!value.is_array() || value.empty() || !value[0].is_object()) {
        text += value.dump();
        continue;
      }
      for (std::size_t t = 0; t < value.size(); ++t) text += (t ? ",\n      " : "[\n      ") + value[t].dump();
      text += "\n    ]";
    }
    text += "\n  }";
    std::cout << text;
    text.clear();
  }
  std::cout << (db.size() ? "\n]}\n" : "]}\n");
  return kExitOk;
}

void PrintFindings(const std::string& file, const std::vector<orvdb::Finding>& findings, bool json,
                   const char* prefix) {
  if (json) {
    orvdb::Json all = orvdb::Json::array();
    for (const auto& f : findings)
      all.push_back({{"index", f.index < 0 ? orvdb::Json(nullptr) : orvdb::Json(f.index)},
                     {"name", f.name},
                     {"code", f.code},
                     {"message", f.message}});
    std::cout << JsonText({{"file", file}, {"findings", std::move(all)}}) << "\n";
    return;
  }
  for (const auto& f : findings) {
    std::ostream& out = prefix ? std::cerr : std::cout;
    out << (prefix ? prefix : "") << file << ": ";
    if (f.index >= 0) out << "record " << f.index << " \"" << f.name << "\": ";
    out << f.message << " [" << f.code << "]\n";
  }
}

int Lint(const std::string& path, bool json) {
  orvx::ModelDatabase db;
  std::vector<orvdb::Finding> findings;
  orvx::detail::Framing framing;
  const orvx::Status load = orvdb::LoadEitherForm(path, db, &framing);
  if (!orvdb::LintFraming(load, framing, findings)) return Status(load.message);
  const auto records = orvdb::LintRecords(db);
  findings.insert(findings.end(), records.begin(), records.end());
  PrintFindings(path, findings, json, nullptr);
  return findings.empty() ? kExitOk : kExitFallback;
}

int Build(const std::string& source, const std::string& output, bool strict) {
  orvx::ModelDatabase db;
  if (const orvx::Status e = orvdb::ReadModels(source, db); e.Failed()) return Status(e.message);
  const auto findings = orvdb::LintRecords(db);
  PrintFindings(source, findings, false, strict ? "orvdb: error: " : "orvdb: warning: ");
  if (strict && !findings.empty()) return kExitFallback;
  if (const orvx::Status e = orvdb::WriteOutput(output, orvdb::DatabaseBytes(db)); e.Failed()) return Status(e.message);
  return kExitOk;
}

// The workbench page for one database, from the first folder that holds the
// web assets (the wasm preset's output).
int Html(const std::string& dbPath, const std::string& output, const std::string& webDir) {
  const std::vector<std::string> dirs = webDir.empty() ? orvdb::DefaultWebDirs() : std::vector<std::string>{webDir};
  std::string probe, tried;
  for (const auto& dir : dirs) {
    if (orvx::ReadWholeFile(dir + "/orvx_wasm.js", probe).Failed()) {
      tried += (tried.empty() ? "" : " or ") + dir;
      continue;
    }
    std::string html;
    if (const orvx::Status e = orvdb::MakeHtmlPage(dir, dbPath, html); e.Failed()) return Status(e.message);
    if (const orvx::Status e = orvdb::WriteOutput(output, html); e.Failed()) return Status(e.message);
    return kExitOk;
  }
  return Status("no web assets (orvx_wasm.js) in " + tried +
               ": build them with scripts/install-deps.sh --web && cmake --workflow --preset wasm, "
               "install them with cmake --install build/wasm, or name their folder with --web DIR");
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
  bool duplex = false, classic = false, json = false, explain = false, strict = false;
  int outputUnit = 0;
};

const char* const kStepKinds[] = {"option", "doc-option", "in-tray", "out-tray", "rule"};
const char* const kStepKindsJson[] = {"option", "docOption", "inTray", "outTray", "rule"};

std::string Quote(std::string_view text) { return "\"" + std::string(text) + "\""; }

// What the rule did with each name, and every bit it set by itself, as the
// engine recorded it while it ran.
void PrintTrace(const orvx::PictureTrace& trace, DWORD pictureId) {
  DWORD credited = 0;
  for (const auto& step : trace.steps) {
    credited |= step.added;
    std::cout << "explain      " << kStepKinds[step.kind];
    const bool tray = step.kind == orvx::PictureTraceStep::InTray || step.kind == orvx::PictureTraceStep::OutTray;
    if (tray) {
      std::cout << " " << step.tray + 1 << " " << Quote(step.inputName);
      if (step.name != step.inputName) std::cout << " tested as " << Quote(step.name);
      if (step.finalName != step.name) std::cout << " now " << Quote(step.finalName);
    } else if (step.kind != orvx::PictureTraceStep::Rule) {
      std::cout << " " << Quote(step.name);
    }
    std::cout << ": ";
    if (step.kind == orvx::PictureTraceStep::Rule)
      std::cout << step.test << (step.row >= 0 ? " (row " + std::to_string(step.row) + ")" : "");
    else if (step.row >= 0)
      std::cout << "row " << step.row << " (" << step.test << ")";
    else
      std::cout << (step.test.empty() ? "no row matched" : step.test);
    std::cout << ", bits " << (step.added ? Hex32(step.added) : "none");
    if (tray) std::cout << ", ID " << step.id;
    std::cout << "\n";
  }
  std::cout << "explain      credited bits " << Hex32(credited)
            << (credited == pictureId ? ", the whole picture ID" : ", not the picture ID") << "\n";
}

int Picture(const PictureOptions& o) {
  const bool fresh = o.vendor >= 0 || o.group >= 0;
  if (fresh == !o.model.empty()) return Status("give either MODEL or --vendor and --group");
  if (fresh && (o.vendor < 0 || o.group < 0)) return Status("--vendor and --group go together");
  orvdb::PictureRequest r;
  r.extended = !o.classic;
  for (const auto& n : o.in) r.AddIn().name = n;
  for (const auto& n : o.out) r.AddOut().name = n;
  for (const auto& n : o.options) r.AddOption() = n;
  for (const auto& n : o.docOptions) r.AddDocOption() = n;
  r.duplexUnit = o.duplex ? 1 : 0;
  r.outputUnit = o.outputUnit;
  for (const auto& s : o.strings) {
    const auto eq = s.find('=');
    DWORD id = 0;
    if (eq == std::string::npos || !ParseDescriptor(s.substr(0, eq), id))
      return Status("--string: \"" + s + "\" is not ID=TEXT");
    r.strings[id] = s.substr(eq + 1);
  }

  CPrnStaticInfo own;
  orvx::ModelDatabase db;
  CPrnStaticInfo* record = &own;
  bool fellBack = false;
  if (fresh) {
    own.SetVenderID(static_cast<WORD>(o.vendor));
    own.SetModelGroupID(static_cast<WORD>(o.group));
    if (!o.modelName.empty()) own.SetModelName(o.modelName);
  } else {
    if (const orvx::Status e = orvx::detail::LoadFile(o.db, db); e.Failed()) return Status(e.message);
    const orvx::LookupResult found = db.Lookup(o.model);
    if (found.index < 0) return Status(o.db + ": the database holds no models");
    record = &db[static_cast<std::size_t>(found.index)];
    fellBack = found.how == orvx::Match::Default;
  }
  orvx::PictureTrace trace;
  orvdb::PictureCaller caller;
  const DWORD pictureId = caller.Call(*record, r, o.explain ? &trace : nullptr);
  // The trays as the rule left them: f(input name, final name, id) for each in-tray or out-tray.
  const auto trays = [&](bool out, auto f) {
    for (std::size_t i = 0; i < (out ? r.outCount : r.inCount); ++i)
      out ? f(r.out[i].name, caller.Out(i).GetName().str(), caller.Out(i).GetID())
          : f(r.in[i].name, caller.In(i).GetName().str(), caller.In(i).GetID());
  };
  const orvx::PictureRoute route = orvx::ChoosePictureRule(record->GetVenderID(), record->GetModelGroupID(), !o.classic);
  std::vector<DWORD> bits;
  for (int b = 0; b < 32; ++b)
    if (pictureId & (DWORD{1} << b)) bits.push_back(DWORD{1} << b);
  const std::string hex = Hex32(pictureId);

  if (o.json) {
    orvdb::Json j;
    j["model"] = record->GetModelName().str();
    j["vendor"] = record->GetVenderID();
    j["group"] = record->GetModelGroupID();
    j["defaultModel"] = fellBack;
    j["entry"] = o.classic ? "GetPictureID" : "GetPictureIDEx";
    j["rule"] = route.rule ? orvdb::Json(route.rule) : orvdb::Json(nullptr);
    j["pictureId"] = pictureId;
    j["pictureIdHex"] = hex;
    j["bits"] = bits;
    for (const bool out : {false, true}) {
      auto& arr = j[out ? "outTrays" : "inTrays"] = orvdb::Json::array();
      trays(out, [&](const std::string& input, const std::string& name, int id) {
        arr.push_back({{"name", name}, {"id", id}, {"input", input}});
      });
    }
    if (o.explain) {
      auto& steps = j["explain"] = orvdb::Json::array();
      for (const auto& step : trace.steps) {
        orvdb::Json s = {{"kind", kStepKindsJson[step.kind]},
                         {"name", step.name},
                         {"row", step.row < 0 ? orvdb::Json(nullptr) : orvdb::Json(step.row)},
                         {"test", step.test},
                         {"bits", step.added}};
        if (step.kind == orvx::PictureTraceStep::InTray || step.kind == orvx::PictureTraceStep::OutTray) {
          s["tray"] = step.tray;
          s["input"] = step.inputName;
          s["final"] = step.finalName;
          s["id"] = step.id;
        }
        steps.push_back(std::move(s));
      }
    }
    std::cout << JsonText(j) << "\n";
  } else {
    std::cout << "model        " << record->GetModelName().str() << " (vendor " << record->GetVenderID() << ", group "
              << record->GetModelGroupID() << ")" << (fellBack ? " [default model: no name matched]" : "") << "\n";
    std::cout << "rule         "
              << (route.rule ? route.rule : route.fixedResult ? "none (fixed result)" : "none (no rule for this group)")
              << "\n";
    std::cout << "picture ID   " << hex << "\n";
    std::cout << "bits        ";
    for (DWORD b : bits) std::cout << " 0x" << std::hex << b << std::dec;
    std::cout << (bits.empty() ? " none\n" : "\n");
    for (const bool out : {false, true})
      trays(out, [&](const std::string& input, const std::string& name, int id) {
        std::cout << (out ? "out-tray     " : "in-tray      ") << Quote(input);
        if (name != input) std::cout << " -> " << Quote(name);
        std::cout << ", ID " << id << "\n";
      });
    if (o.explain) PrintTrace(trace, pictureId);
  }
  return fellBack && o.strict ? kExitFallback : kExitOk;
}

// The rules of a model or of a vendor and group; without either, every pair and rule.
int Rules(const PictureOptions& o, bool json) {
  const bool fresh = o.vendor >= 0 || o.group >= 0;
  if (fresh && !o.model.empty()) return Status("give either MODEL or --vendor and --group");
  if (fresh && (o.vendor < 0 || o.group < 0)) return Status("--vendor and --group go together");
  if (!fresh && o.model.empty()) {
    orvdb::PrintAllRules(std::cout, json);
    return kExitOk;
  }
  CPrnStaticInfo record;
  std::string name;
  orvx::ModelDatabase db;
  if (fresh) {
    record.SetVenderID(static_cast<WORD>(o.vendor));
    record.SetModelGroupID(static_cast<WORD>(o.group));
  } else {
    if (const orvx::Status e = orvx::detail::LoadFile(o.db, db); e.Failed()) return Status(e.message);
    const orvx::LookupResult found = db.Lookup(o.model);
    if (found.index < 0) return Status(o.db + ": the database holds no models");
    record.SetVenderID(static_cast<WORD>(db[static_cast<std::size_t>(found.index)].GetVenderID()));
    record.SetModelGroupID(static_cast<WORD>(db[static_cast<std::size_t>(found.index)].GetModelGroupID()));
    name = db[static_cast<std::size_t>(found.index)].GetModelName().str();
  }
  orvdb::PrintRulesFor(std::cout, record, name, json);
  return kExitOk;
}

// ---- registry-backed commands ------------------------------------------------------

int Supported(const std::string& model, DWORD interfaceNumber, const std::string& path, bool direct, bool json) {
#if !defined(_WIN32)
  // A missing or malformed store is not an answer about the model.
  const std::string store = orvx::host::RegistryFile(HKEY_LOCAL_MACHINE);
  std::error_code ec;
  if (!std::filesystem::exists(store, ec)) {
    std::cerr << "orvdb: no registry store file " << store << " (set ORVX_HKLM_FILE)\n";
    return kExitNoStore;
  }
  if (const orvx::Status e = orvx::registry::CheckFile(store); e.Failed()) {
    std::cerr << "orvdb: " << (e.where ? store + ":" + std::to_string(e.where) + ": " : "") << e.message << "\n";
    return e.where ? kExitBadStore : kExitUsage;
  }
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

int RegistryCheck(const std::string& file) {
  const orvx::Status e = orvx::registry::CheckFile(file);
  if (!e.Failed()) {
    std::cout << file << ": ok\n";
    return kExitOk;
  }
  if (e.where == 0) return Status(e.message);
  std::cerr << file << ":" << e.where << ": " << e.message << "\n";
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

// Why the user hive's store file cannot be used ("" when it can, or is missing).
std::string UserStoreProblem() {
#if defined(_WIN32)
  return {};
#else
  const std::string store = orvx::host::RegistryFile(HKEY_CURRENT_USER);
  std::error_code ec;
  if (!std::filesystem::exists(std::filesystem::symlink_status(store, ec))) return {};
  const orvx::Status e = orvx::registry::CheckFile(store);  // parsed once: the registry calls share it
  if (!e.Failed()) return {};
  return e.where ? store + ":" + std::to_string(e.where) + ": " + e.message : e.message;
#endif
}

int ComCfgSave(DWORD port, bool hex) {
  if (!hex) orvdb::BinaryStream(stdin);
  // No more is read than a configuration can take (as hex: three characters a byte and line breaks).
  const std::size_t limit = hex ? 4 * orvx::kCommConfigMax : orvx::kCommConfigMax;
  std::string input(limit + 1, '\0');
  std::cin.read(input.data(), static_cast<std::streamsize>(input.size()));
  input.resize(static_cast<std::size_t>(std::cin.gcount()));
  if (input.size() > limit)
    return Status("standard input: more than " + std::to_string(limit) + (hex ? " characters of hex text" : " bytes") +
                 "; a configuration has at most " + std::to_string(orvx::kCommConfigMax) + " bytes");
  std::vector<BYTE> bytes;
  if (hex) {
    if (!ParseHex(input, bytes)) return Status("standard input: not a sequence of hex byte pairs");
  } else {
    bytes.assign(input.begin(), input.end());
  }
  DWORD size = 0;
  if (bytes.size() < sizeof size) return Status("standard input: a configuration needs at least its 4-byte dwSize");
  std::memcpy(&size, bytes.data(), sizeof size);
  if (size < sizeof size || size > bytes.size())
    return Status("standard input: dwSize is " + std::to_string(size) + " but " + std::to_string(bytes.size()) +
                 " bytes were given");
  if (size > orvx::kCommConfigMax)
    return Status("standard input: a configuration of " + std::to_string(size) + " bytes could never be loaded back (at most " +
                 std::to_string(orvx::kCommConfigMax) + ")");
  const std::string value = "COM" + std::to_string((port >> 4) & 0xF);
  if (orvx::SaveCommConfig(port, {bytes.data(), size}) == ERROR_SUCCESS) {
    std::cerr << "orvdb: stored " << value << " (" << size << " bytes)\n";
    return kExitOk;
  }
  if (const std::string problem = UserStoreProblem(); !problem.empty()) return Status(problem);
#if defined(_WIN32)
  return Status("could not write the configuration to the registry");
#else
  return Status("could not write the configuration to " + orvx::host::RegistryFile(HKEY_CURRENT_USER));
#endif
}

const char* TypeName(DWORD type) {
  switch (type) {
    case REG_NONE: return "REG_NONE";
    case REG_SZ: return "REG_SZ";
    case REG_EXPAND_SZ: return "REG_EXPAND_SZ";
    case REG_BINARY: return "REG_BINARY";
    case REG_DWORD: return "REG_DWORD";
    case REG_MULTI_SZ: return "REG_MULTI_SZ";
    default: return "another type";
  }
}

// Prints the stored bytes, as many as are stored: the dwSize inside them is
// the caller's claim, not the store's.
int ComCfgLoad(DWORD port, bool hex) {
  const std::string value = "COM" + std::to_string((port >> 4) & 0xF);
  std::vector<BYTE> buffer(orvx::kCommConfigMax, 0);
  DWORD size = 0, type = REG_NONE;
  const LONG r = orvx::LoadCommConfig(port, buffer, size, &type);
  if (const std::string problem = r == ERROR_SUCCESS ? "" : UserStoreProblem(); !problem.empty())
    return Status(problem);
  if (r == ERROR_FILE_NOT_FOUND) {
    std::cerr << "orvdb: no configuration stored for " << value << "\n";
    return kExitFallback;
  }
  if (r == ERROR_MORE_DATA) {
    std::cerr << "orvdb: " << value << " holds " << size << " bytes, too large to load (at most "
              << orvx::kCommConfigMax << ")\n";
    return kExitTooLarge;
  }
  if (r != ERROR_SUCCESS) return Status("could not read " + value + " from the registry (error " + std::to_string(r) + ")");
  if (type != REG_BINARY) {
    std::cerr << "orvdb: " << value << " holds a value of type " << TypeName(type) << " (" << type
              << "), not a configuration (REG_BINARY)\n";
    return kExitWrongType;
  }
  if (size == 0) {
    std::cerr << "orvdb: " << value << " holds an empty value, no configuration\n";
    return kExitEmptyValue;
  }
  if (hex) {
    std::cout << Hex(buffer.data(), size) << "\n";
  } else {
    std::cout.flush();
    orvdb::BinaryStream(stdout);
    std::cout.write(reinterpret_cast<const char*>(buffer.data()), size);
  }
  return kExitOk;
}

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
  std::string db = "ORVDB.dat";
  bool json = false;

  auto* show = app.add_subcommand("show", "Look a model up with the library's rules and print every field");
  std::string name;
  bool strict = false;
  show->add_option("--db", db, "Database file (default: ORVDB.dat in the current directory)");
  show->add_option("NAME", name, "Model name to look up")->required();
  show->add_flag("--strict", strict, "Exit with 1 when the name matches no model and the default model answers");

  auto* list = app.add_subcommand("list", "List every model in file order");
  list->add_option("--db", db, "Database file (default: ORVDB.dat in the current directory)");

  auto* find = app.add_subcommand("find", "List every model whose name contains TEXT, ignoring letter case");
  std::string text;
  find->add_option("--db", db, "Database file (default: ORVDB.dat in the current directory)");
  find->add_option("TEXT", text, "Text to look for")->required();

  auto* lint = app.add_subcommand("lint", "Check a database (or its JSON source) for models users cannot reach");
  std::string lintInput;
  lint->add_option("INPUT", lintInput, "Database file, or its JSON source")->required();

  auto* exp = app.add_subcommand("export", "Write the database as JSON on standard output");
  exp->add_option("--db", db, "Database file (default: ORVDB.dat in the current directory)");

  auto* build = app.add_subcommand("build", "Build a database file from its JSON form");
  std::string source, output;
  build->add_option("MODELS", source, "JSON file ({\"models\": [...]})")->required();
  build->add_option("-o,--output", output, "Database file to write; - for standard output")->required();
  bool buildStrict = false;
  build->add_flag("--strict", buildStrict, "Fail, writing nothing, when lint finds anything");

  auto* html = app.add_subcommand("html", "Write the model workbench for a database as one self-contained HTML file");
  std::string htmlDb, htmlOut, webDir;
  html->add_option("DB", htmlDb, "Database file, or its JSON form")->required();
  html->add_option("-o,--output", htmlOut, "HTML file to write; - for standard output")->required();
  html->add_option("--web", webDir, "Folder of the web assets (default: the installed ones, then build/wasm/web)");

  auto* supported = app.add_subcommand("supported", "Ask whether a model is supported over an interface");
  std::string model, regPath;
  DWORD interfaceNumber = 0;
  bool direct = false;
  supported->add_option("MODEL", model, "Model name")->required();
  supported->add_option("--interface", interfaceNumber, "Interface number (1 to 5)")->required()->check(CLI::Range(1, 5));
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
  picture->add_flag("--explain", po.explain, "Show the rule row each option and tray name matched, and what it set");
  picture->add_flag("--strict", po.strict, "Exit with 1 when MODEL matches no model and the default model answers");
  auto* rules = app.add_subcommand("rules", "Show which rule serves a model group and what its tables recognise");
  PictureOptions ro;
  rules->add_option("MODEL", ro.model, "Model name, looked up with the library's rules (none: every vendor and group)");
  rules->add_option("--db", ro.db, "Database file (default: ORVDB.dat in the current directory)");
  rules->add_option("--vendor", ro.vendor, "Vendor ID, instead of MODEL")->check(CLI::Range(0, 65535));
  rules->add_option("--group", ro.group, "Model group ID, instead of MODEL")->check(CLI::Range(0, 65535));
  for (auto* sub : {show, list, supported, lint, rules}) sub->add_flag("--json", json, "Print JSON");

  auto* diff = app.add_subcommand("diff", "Show what NEW changes against OLD: records, lookups, picture IDs");
  orvdb::DiffOptions diffOptions;
  diff->add_option("OLD", diffOptions.oldPath, "Old database file, or its JSON form")->required();
  diff->add_option("NEW", diffOptions.newPath, "New database file, or its JSON form")->required();
  diff->add_option("--names", diffOptions.namesFile, "More names to look up, one a line");
  diff->add_option("--configs", diffOptions.configsFile, "Eval picture requests naming models, one a line");
  diff->add_flag("--summary", diffOptions.summary, "Print only the counts");
  diff->add_option("--fail-on", diffOptions.failOn,
                   "What makes the exit status 1: records, lookups (existing lookups that now answer otherwise), "
                   "new-names, pictures, any (the default); several with commas")
      ->delimiter(',')
      ->check(CLI::IsMember(std::vector<std::string>(std::begin(orvdb::kFailOnClasses), std::end(orvdb::kFailOnClasses))));
  diff->add_flag("--json", diffOptions.json, "Print one JSON object");

  auto* eval = app.add_subcommand("eval", "Answer JSON Lines requests from standard input, one line each");
  eval->footer(
      "Each line is one JSON object; each answer is one line, in order; a bad request is answered\n"
      "with {\"error\": \"...\"} and the stream goes on.\n"
      "  {\"op\":\"picture\", \"db\":PATH, \"model\":NAME | \"vendor\":V, \"group\":G [, \"model\":NAME],\n"
      "   \"entry\":\"GetPictureID\"|\"GetPictureIDEx\", \"form\":\"trays\"|\"names\", \"inTrays\":[...],\n"
      "   \"outTrays\":[...], \"duplexUnit\":N, \"outputUnit\":N, \"options\":[...], \"docOptions\":[...],\n"
      "   \"strings\":{\"9481\":TEXT}}\n"
      "  {\"op\":\"lookup\", \"db\":PATH, \"name\":NAME}\n"
      "  {\"op\":\"sizelist\", \"block\":[BYTES], \"tray\":N | \"trayName\":NAME | \"whole\":true}\n"
      "  {\"op\":\"info\", \"calls\":[[\"get\",KEY], [\"set\",KEY,VALUE], ...]}\n"
      "The answers, the tray objects and the defaults: man orvdb, section EVAL REQUESTS.");

  std::string appName = "orvx", registryKey;
  for (auto* sub : {supported, comcfg}) {
    sub->add_option("--app", appName, "Host application name (default: orvx)");
    sub->add_option("--key", registryKey, "Host registry key (default: none)");
  }

  if (argc > 1 && argv[1][0] != '-') {
    bool known = false;
    for (const auto* sub : app.get_subcommands({})) known = known || sub->get_name() == argv[1];
    if (!known) return Status(std::string("unknown command \"") + argv[1] + "\"; see orvdb --help");
  }
  // Name an unknown option before CLI11 complains about what is missing.
  if (const std::string unknown = UnknownOption(app, argc, argv); !unknown.empty())
    return Status("unknown option \"" + unknown + "\"; see orvdb " + (argc > 1 ? std::string(argv[1]) + " " : "") + "--help");
  if (const std::string problem = MissingValue(app, argc, argv); !problem.empty()) return Status(problem);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    return Status(e.what());
  }

  if (*show) return Show(db, name, strict, json);
  if (*list) return List(db, json);
  if (*find) return Find(db, text);
  if (*lint) return Lint(lintInput, json);
  if (*exp) return Export(db);
  if (*build) return Build(source, output, buildStrict);
  if (*picture) return Picture(po);
  if (*html) return Html(htmlDb, htmlOut, webDir);
  if (*rules) return Rules(ro, json);
  if (*diff) {
    std::string error;
    const int status = orvdb::Diff(diffOptions, std::cout, error);
    return status == kExitUsage ? Status(error) : status;
  }
  if (*eval) {
    std::ios::sync_with_stdio(false);
    orvdb::Evaluator evaluator;
    evaluator.Run(std::cin, std::cout);
    return kExitOk;
  }
  // Both name a registry key: what would break the store's lines is refused here.
  for (const auto& [option, name] : {std::pair{"--app: the application name", &appName}, {"--key: the registry key", &registryKey}})
    if (const std::string problem = orvx::registry::NameProblem(*name, option); !problem.empty()) return Status(problem);
  orvx::host::SetAppName(appName);
  orvx::host::SetRegistryKey(registryKey);
  if (*supported) return Supported(model, interfaceNumber, regPath, direct, json);
  if (*check) return RegistryCheck(storeFile);
  if (*comcfg) {
    DWORD port = 0;
    if (!ParseDescriptor(portText, port)) return Status("--port: \"" + portText + "\" is not a number");
    return action == "save" ? ComCfgSave(port, hex) : ComCfgLoad(port, hex);
  }
  return kExitUsage;
}

}  // namespace

// Every answer goes to standard output; one that did not arrive (a full disk,
// a closed pipe) must not end in success.
int main(int argc, char** argv) {
  int status;
  try {
    status = Run(argc, argv);
  } catch (const std::exception& e) {
    status = Status(std::string("unexpected failure: ") + e.what());
  }
  std::cout.flush();
  if (!std::cout.good() || std::fflush(stdout) != 0 || std::ferror(stdout)) {
    std::cerr << "orvdb: write error\n";
    return kExitUsage;
  }
  return status;
}
