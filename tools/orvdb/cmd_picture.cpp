// orvdb picture and rules: a machine configuration's picture ID, and which
// rule serves a model group.
#include <iostream>
#include <memory>

#include "commands.h"
#include "orvx/database.h"
#include "orvx/picture.h"
#include "picture_codec.h"
#include "rules.h"

namespace orvdb {
namespace {

struct PictureOptions {
  std::string db = "ORVDB.dat";
  std::string model;
  int vendor = -1, group = -1;
  std::string modelName;
  std::vector<std::string> in, out, options, docOptions, strings;
  bool duplex = false, classic = false, json = false, explain = false, strict = false;
  int outputUnit = 0;
};

std::string Quote(std::string_view text) { return "\"" + std::string(text) + "\""; }

// The record MODEL (in --db) or --vendor and --group name, chosen as eval
// chooses a request's: `r` names it, `db` holds the database read.
orvx::Status Choose(const PictureOptions& o, PictureRequest& r, orvx::ModelDatabase& db, CPrnStaticInfo& fresh,
                    ChosenRecord& chosen) {
  if (o.vendor >= 0 || o.group >= 0) {
    r.hasVendor = r.hasGroup = true;
    r.vendor = o.vendor, r.group = o.group;
    r.hasModel = !o.modelName.empty();
    r.model = o.modelName;
  } else {
    r.hasDb = r.hasModel = true;
    r.db = o.db, r.model = o.model;
    if (orvx::Status e = orvx::LoadFile(o.db, db); e.Failed()) return e;
    if (db.size() == 0) return NoModels(o.db);
  }
  chosen = ChooseRecord(r, [&](const std::string&) -> orvx::ModelDatabase& { return db; }, fresh);
  return {};
}

// What the rule did with each name, and every bit it set by itself, as the
// engine recorded it while it ran; trays counted from 1.
void PrintTrace(const orvx::PictureTrace& trace, DWORD pictureId) {
  DWORD credited = 0;
  for (const auto& step : trace.steps) {
    credited |= step.added;
    std::cout << "explain      " << orvx::PictureStepName(step.kind);
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

// The request the options make, run as eval runs it; --json writes eval's answer.
Outcome Picture(const PictureOptions& o) {
  const bool fresh = o.vendor >= 0 || o.group >= 0;
  if (fresh == !o.model.empty()) return Usage("give either MODEL or --vendor and --group");
  if (fresh && (o.vendor < 0 || o.group < 0)) return Usage("--vendor and --group go together");
  PictureRequest r;
  r.extended = !o.classic;
  r.explain = o.explain;
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
      return Usage("--string: \"" + s + "\" is not ID=TEXT");
    try {
      r.HostString(std::to_string(id)) = s.substr(eq + 1);
    } catch (const RequestError& e) {
      return Usage(e.what());
    }
  }
  orvx::ModelDatabase db;
  CPrnStaticInfo own;
  ChosenRecord chosen;
  if (orvx::Status e = Choose(o, r, db, own, chosen); e.Failed()) return e;
  const CPrnStaticInfo* record = chosen.record;
  const bool fellBack = chosen.fromDatabase && chosen.found.how == orvx::Match::Default;
  PictureCodec codec;
  const DWORD pictureId = codec.Run(*record, r);
  if (o.json) {
    std::string answer;
    codec.Encode(r, chosen, pictureId, answer);
    std::cout << answer << "\n";
    return fellBack && o.strict ? kExitFallback : kExitOk;
  }

  const orvx::PictureRoute route = orvx::ChoosePictureRule(record->GetVenderID(), record->GetModelGroupID(), !o.classic);
  std::cout << "model        " << record->GetModelName().str() << " (vendor " << record->GetVenderID() << ", group "
            << record->GetModelGroupID() << ")" << (fellBack ? " [default model: no name matched]" : "") << "\n";
  std::cout << "rule         "
            << (route.rule ? route.rule : route.fixedResult ? "none (fixed result)" : "none (no rule for this group)")
            << "\n";
  std::cout << "picture ID   " << Hex32(pictureId) << "\n";
  std::cout << "bits        ";
  for (int b = 0; b < 32; ++b)
    if (pictureId >> b & 1) std::cout << " 0x" << std::hex << (DWORD{1} << b) << std::dec;
  std::cout << (pictureId ? "\n" : " none\n");
  for (const bool out : {false, true})
    for (std::size_t i = 0; i < (out ? r.outCount : r.inCount); ++i) {
      const std::string& input = out ? r.out[i].name : r.in[i].name;
      const std::string name = out ? codec.Out(i).GetName().str() : codec.In(i).GetName().str();
      std::cout << (out ? "out-tray     " : "in-tray      ") << Quote(input);
      if (name != input) std::cout << " -> " << Quote(name);
      std::cout << ", ID " << (out ? codec.Out(i).GetID() : codec.In(i).GetID()) << "\n";
    }
  if (o.explain) PrintTrace(codec.Trace(), pictureId);
  return fellBack && o.strict ? kExitFallback : kExitOk;
}

// The rules of a model or of a vendor and group; without either, every pair and rule.
Outcome Rules(const PictureOptions& o, bool json) {
  const bool fresh = o.vendor >= 0 || o.group >= 0;
  if (fresh && !o.model.empty()) return Usage("give either MODEL or --vendor and --group");
  if (fresh && (o.vendor < 0 || o.group < 0)) return Usage("--vendor and --group go together");
  if (!fresh && o.model.empty()) {
    PrintAllRules(std::cout, json);
    return kExitOk;
  }
  PictureRequest r;
  orvx::ModelDatabase db;
  CPrnStaticInfo own;
  ChosenRecord chosen;
  if (orvx::Status e = Choose(o, r, db, own, chosen); e.Failed()) return e;
  PrintRulesFor(std::cout, *chosen.record, chosen.fromDatabase ? chosen.record->GetModelName().str() : "", json);
  return kExitOk;
}

}  // namespace

void AddPictureCommands(CLI::App& app, Commands& out) {
  const auto po = std::make_shared<PictureOptions>();
  auto* picture = app.add_subcommand("picture", "Compute the picture ID of a machine configuration");
  picture->add_option("MODEL", po->model, "Model name, looked up with the library's rules");
  picture->add_option("--db", po->db, "Database file (default: ORVDB.dat in the current directory)");
  picture->add_option("--vendor", po->vendor, "Vendor ID of a fresh record, instead of MODEL")->check(CLI::Range(0, 65535));
  picture->add_option("--group", po->group, "Model group ID of a fresh record, instead of MODEL")->check(CLI::Range(0, 65535));
  picture->add_option("--model-name", po->modelName, "Model name of the fresh record");
  picture->add_option("--in", po->in, "Installed input trays, in order");
  picture->add_option("--out", po->out, "Installed output trays, in order");
  picture->add_option("--option", po->options, "Installed option units (extended entry)");
  picture->add_option("--doc-option", po->docOptions, "Installed document units (extended entry)");
  picture->add_flag("--duplex", po->duplex, "A duplex unit is installed (classic entry)");
  picture->add_option("--output-unit", po->outputUnit, "Output unit value (classic entry)");
  picture->add_flag("--classic", po->classic, "Call GetPictureID instead of GetPictureIDEx");
  picture->add_option("--string", po->strings, "A host string the rules read, ID=TEXT: " + std::to_string(orvx::kManualTrayString) +
                      " (a manual tray's name), " + std::to_string(orvx::kDefaultTrayString) + " (a default tray's name)");
  picture->add_flag("--json", po->json, "Print one JSON object");
  picture->add_flag("--explain", po->explain, "Show the rule row each option and tray name matched, and what it set");
  picture->add_flag("--strict", po->strict, "Exit with 1 when MODEL matches no model and the default model answers");
  out.push_back({picture, [po] { return Picture(*po); }});

  const auto ro = std::make_shared<PictureOptions>();
  auto* rules = app.add_subcommand("rules", "Show which rule serves a model group and what its tables recognise");
  rules->add_option("MODEL", ro->model, "Model name, looked up with the library's rules (none: every vendor and group)");
  rules->add_option("--db", ro->db, "Database file (default: ORVDB.dat in the current directory)");
  rules->add_option("--vendor", ro->vendor, "Vendor ID, instead of MODEL")->check(CLI::Range(0, 65535));
  rules->add_option("--group", ro->group, "Model group ID, instead of MODEL")->check(CLI::Range(0, 65535));
  rules->add_flag("--json", ro->json, "Print JSON");
  out.push_back({rules, [ro] { return Rules(*ro, ro->json); }});
}

}  // namespace orvdb
