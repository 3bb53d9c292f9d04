// orvdb show, list and find: a database's records as the library reads them.
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <memory>
#include <span>

#include "commands.h"
#include "field_notes.h"
#include "lint.h"
#include "orvx/database.h"
#include "orvx/record_fields.h"
#include "orvx/size_list.h"

namespace orvdb {
namespace {

// Lists the entries of a size-list block, marking where it stops making sense.
void PrintSizeLists(std::ostream& out, std::span<const BYTE> block) {
  orvx::SizeListReader reader(block);
  for (orvx::SizeListEntry e; reader.Next(e);) {
    const auto sizes = e.Sizes();
    if (e.Named())
      out << "    tray "  // printable text as it is, anything else escaped as lint shows it
          << (Unprintable(e.Name()) == std::string_view::npos ? '"' + std::string(e.Name()) + '"' : Escaped(e.Name()))
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
  out << line << "  # " << FieldNoteOf(field) << "\n";
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

Outcome Show(const std::string& path, const std::string& name, bool strict, bool json) {
  orvx::ModelDatabase db;
  if (orvx::Status e = orvx::LoadFile(path, db); e.Failed()) return e;
  const orvx::LookupResult found = db.Lookup(name);
  if (found.index < 0) return NoModels(path);
  const CPrnStaticInfo& r = db[static_cast<std::size_t>(found.index)];
  const bool fellBack = found.how == orvx::Match::Default;
  if (json) {
    Json j = {{"index", found.index}, {"match", orvx::MatchName(found.how)}};
    j["record"] = RecordToJson(r);
    // The keys whose GetInfo answer is not the stored value.
    Json answers = Json::object();
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

Outcome List(const std::string& path, bool json) {
  orvx::ModelDatabase db;
  if (orvx::Status e = orvx::LoadFile(path, db); e.Failed()) return e;
  Json all = Json::array();
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
Outcome Find(const std::string& path, const std::string& text) {
  orvx::ModelDatabase db;
  if (orvx::Status e = orvx::LoadFile(path, db); e.Failed()) return e;
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

constexpr const char* kDbHelp = "Database file (default: ORVDB.dat in the current directory)";

}  // namespace

void AddShowCommands(CLI::App& app, Commands& out) {
  struct Options {
    std::string db = "ORVDB.dat", name, text;
    bool strict = false, json = false;
  };
  const auto o = std::make_shared<Options>();

  auto* show = app.add_subcommand("show", "Look a model up with the library's rules and print every field");
  show->add_option("--db", o->db, kDbHelp);
  show->add_option("NAME", o->name, "Model name to look up")->required();
  show->add_flag("--strict", o->strict, "Exit with 1 when the name matches no model and the default model answers");
  show->add_flag("--json", o->json, "Print JSON");
  out.push_back({show, [o] { return Show(o->db, o->name, o->strict, o->json); }});

  auto* list = app.add_subcommand("list", "List every model in file order");
  list->add_option("--db", o->db, kDbHelp);
  list->add_flag("--json", o->json, "Print JSON");
  out.push_back({list, [o] { return List(o->db, o->json); }});

  auto* find = app.add_subcommand("find", "List every model whose name contains TEXT, ignoring letter case");
  find->add_option("--db", o->db, kDbHelp);
  find->add_option("TEXT", o->text, "Text to look for")->required();
  out.push_back({find, [o] { return Find(o->db, o->text); }});
}

}  // namespace orvdb
