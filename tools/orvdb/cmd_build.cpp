// orvdb lint, export, build and html: a database to and from its JSON form,
// checked, or made into the workbench page.
#include <iostream>
#include <memory>

#include "commands.h"
#include "db_file.h"
#include "html_page.h"
#include "lint.h"
#include "orvx/database.h"
#include "orvx/whole_file.h"

namespace orvdb {
namespace {

Outcome Export(const std::string& path) {
  orvx::ModelDatabase db;
  if (orvx::Status e = orvx::LoadFile(path, db); e.Failed()) return e;
  // One record at a time (values on one line each, size lists one tray a
  // line): line-oriented diffs of two exports read well.
  orvx::WriteDatabaseJson(db, [](std::string_view part) { std::cout << part; });
  return kExitOk;
}

void PrintFindings(const std::string& file, const std::vector<Finding>& findings, bool json, const char* prefix) {
  if (json) {
    Json all = Json::array();
    for (const auto& f : findings)
      all.push_back({{"index", f.index < 0 ? Json(nullptr) : Json(f.index)},
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

Outcome Lint(const std::string& path, bool json) {
  orvx::ModelDatabase db;
  std::vector<Finding> findings;
  orvx::Framing framing;
  orvx::Status load = LoadEitherForm(path, db, &framing);
  if (!LintFraming(load, framing, findings)) return load;
  const auto records = LintRecords(db);
  findings.insert(findings.end(), records.begin(), records.end());
  PrintFindings(path, findings, json, nullptr);
  return findings.empty() ? kExitOk : kExitFallback;
}

Outcome Build(const std::string& source, const std::string& output, bool strict) {
  orvx::ModelDatabase db;
  if (orvx::Status e = ReadModels(source, db); e.Failed()) return e;
  const auto findings = LintRecords(db);
  PrintFindings(source, findings, false, strict ? "orvdb: error: " : "orvdb: warning: ");
  if (strict && !findings.empty()) return kExitFallback;
  if (orvx::Status e = WriteOutput(output, DatabaseBytes(db)); e.Failed()) return e;
  return kExitOk;
}

// The workbench page for one database, from the first folder that holds the
// web assets (the wasm preset's output).
Outcome Html(const std::string& dbPath, const std::string& output, const std::string& webDir, bool edit) {
  const std::vector<std::string> dirs = webDir.empty() ? DefaultWebDirs() : std::vector<std::string>{webDir};
  std::string probe, tried;
  for (const auto& dir : dirs) {
    if (orvx::ReadWholeFile(dir + "/orvx_wasm.js", probe).Failed()) {
      tried += (tried.empty() ? "" : " or ") + dir;
      continue;
    }
    std::string html;
    if (orvx::Status e = MakeHtmlPage(dir, dbPath, html, edit); e.Failed()) return e;
    if (orvx::Status e = WriteOutput(output, html); e.Failed()) return e;
    return kExitOk;
  }
  return orvx::Status{orvx::Status::NotFound,
                      "no web assets (orvx_wasm.js) in " + tried +
                          ": build them with scripts/install-deps.sh --web && cmake --workflow --preset wasm, "
                          "install them with cmake --install build/wasm, or name their folder with --web DIR"};
}

}  // namespace

void AddBuildCommands(CLI::App& app, Commands& out) {
  struct Options {
    std::string input, db = "ORVDB.dat", source, output, webDir;
    bool json = false, strict = false;
  };
  const auto o = std::make_shared<Options>();

  auto* lint = app.add_subcommand("lint", "Check a database (or its JSON source) for models users cannot reach");
  lint->add_option("INPUT", o->input, "Database file, or its JSON source")->required();
  lint->add_flag("--json", o->json, "Print JSON");
  out.push_back({lint, [o] { return Lint(o->input, o->json); }});

  auto* exp = app.add_subcommand("export", "Write the database as JSON on standard output");
  exp->add_option("--db", o->db, "Database file (default: ORVDB.dat in the current directory)");
  out.push_back({exp, [o] { return Export(o->db); }});

  auto* build = app.add_subcommand("build", "Build a database file from its JSON form");
  build->add_option("MODELS", o->source, "JSON file ({\"models\": [...]})")->required();
  build->add_option("-o,--output", o->output, "Database file to write; - for standard output")->required();
  build->add_flag("--strict", o->strict, "Fail, writing nothing, when lint finds anything");
  out.push_back({build, [o] { return Build(o->source, o->output, o->strict); }});

  auto* html = app.add_subcommand("html", "Write the model workbench for a database as one self-contained HTML file");
  html->add_option("DB", o->input, "Database file, or its JSON form")->required();
  html->add_option("-o,--output", o->output, "HTML file to write; - for standard output")->required();
  html->add_option("--web", o->webDir, "Folder of the web assets (default: the installed ones, then build/wasm/web)");
  const auto edit = std::make_shared<bool>(false);
  html->add_flag("--edit", *edit, "Open the page in edit mode (without it, the page's Edit button turns editing on)");
  out.push_back({html, [o, edit] { return Html(o->input, o->output, o->webDir, *edit); }});
}

}  // namespace orvdb
