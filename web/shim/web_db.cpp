// The module's database side: open from bytes (the file layout or its JSON
// form), read the records, look names up, edit with undo and redo, save, and
// answer lint and the diff against the database as opened, each as JSON for
// the page. Every answer comes from the library's public headers and the
// tool's lint, diff and JSON code compiled in beside them.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "db_file.h"
#include "diff.h"
#include "field_notes.h"
#include "lint.h"
#include "orvx/db_form.h"
#include "orvx/orvx.h"
#include "orvx/picture.h"
#include "orvx/record_fields.h"
#include "orvx/record_json.h"
#include "orvx/size_list.h"
#include "web_api.h"

using orvdb::Json;

namespace {

// One applied edit: its script entry, which also redoes it, and what undoes it.
struct Edit {
  enum class Kind { Record, Insert, Remove, Move } kind;
  std::size_t at = 0, to = 0;            // the record; for a move, where it ended up
  std::unique_ptr<CPrnStaticInfo> kept;  // Record: the record before; Remove: the removed one
  std::string script;                    // ["set", 3, "VenderID", 4] as JSON text
};

}  // namespace

struct orvx_web_db {
  orvx::ModelDatabase model;   // the database being edited
  orvx::ModelDatabase opened;  // the same as opened, only read: what changes() compares with
  std::string form;            // "dat" or "json": what the opened bytes were
  // Findings about the opened bytes' framing (bytes after the last record):
  // they hold while Bytes() still gives those bytes.
  std::vector<orvdb::Finding> framing;
  std::vector<std::uint8_t> openedBytes;  // kept only when `framing` has findings
  std::vector<orvdb::Finding> findings;   // lint's findings, made on the first need after an edit
  bool linted = false;
  std::vector<Edit> done;
  std::vector<std::string> undone;  // the script entries of the edits undone, the last one last
};

namespace orvx_web {

char* Answer(const Json& j) {
  const std::string text = j.dump(-1, ' ', false, Json::error_handler_t::replace);
  char* out = static_cast<char*>(std::malloc(text.size() + 1));
  if (out) std::memcpy(out, text.c_str(), text.size() + 1);
  return out;
}

char* ErrorAnswer(const std::string& message) { return Answer({{"error", message}}); }

const CPrnStaticInfo* Record(orvx_web_db* w, std::size_t index) {
  return w && index < w->model.size() ? &w->model[index] : nullptr;
}

}  // namespace orvx_web

namespace {

using orvx_web::Answer;
using orvx_web::ErrorAnswer;

char* Copy(std::string_view text) {
  char* out = static_cast<char*>(std::malloc(text.size() + 1));
  if (!out) return nullptr;
  std::memcpy(out, text.data(), text.size());
  out[text.size()] = '\0';
  return out;
}

std::string Name(const CPrnStaticInfo& r) { return std::string(r.GetModelName().view()); }

Json Route(int vendor, int group, bool extended) {
  const orvx::PictureRoute route = orvx::ChoosePictureRule(vendor, group, extended);
  if (route.rule) return route.rule;
  return {{"fixed", route.fixedResult}};
}

Json FindingJson(const orvdb::Finding& f) {
  return {{"index", f.index < 0 ? Json(nullptr) : Json(f.index)}, {"name", f.name}, {"code", f.code},
          {"message", f.message}};
}

// Every size list of a block in stored order, as the library's reader walks it.
Json SizeLists(std::span<const BYTE> block) {
  Json lists = Json::array();
  if (block.empty()) return lists;
  orvx::SizeListReader reader(block);
  for (orvx::SizeListEntry e; reader.Next(e);) {
    const auto sizes = e.Sizes();
    Json entry = {{"offset", e.offset}, {"key", e.key}, {"sizes", std::vector<int>(sizes.begin(), sizes.end())}};
    if (e.Named()) entry["name"] = std::string(e.Name());
    lists.push_back(std::move(entry));
  }
  if (reader.Problem().Failed()) lists.push_back({{"brokenAt", reader.Problem().where}});
  return lists;
}

// Lint's findings on the database as it is now: the framing's while the
// bytes are still the opened ones, then the records'.
const std::vector<orvdb::Finding>& Findings(orvx_web_db& w) {
  if (w.linted) return w.findings;
  std::vector<orvdb::Finding> all;
  if (!w.framing.empty() && w.model.Bytes() == w.openedBytes) all = w.framing;
  auto records = orvdb::LintRecords(w.model);
  all.insert(all.end(), std::make_move_iterator(records.begin()), std::make_move_iterator(records.end()));
  w.findings = std::move(all);
  w.linted = true;
  return w.findings;
}

std::unique_ptr<CPrnStaticInfo> CopyOf(const CPrnStaticInfo& r) {
  auto copy = std::make_unique<CPrnStaticInfo>();
  copy->CopyParam(&r);
  return copy;
}

std::string Quoted(std::string_view s) { return Json(std::string(s)).dump(-1, ' ', false, Json::error_handler_t::replace); }

// A JSON value given as text, in the form the edit script keeps it; null
// when it is no JSON (the library refuses such a value first).
std::optional<std::string> Normalized(std::string_view value) {
  const Json v = Json::parse(value, nullptr, false);
  if (v.is_discarded()) return std::nullopt;
  return v.dump();
}

// ---- the edits. Each checks through the library, applies, and pushes what
// undoes it on `done`; a refused one changes nothing.

orvx::Status SetValue(orvx_web_db& w, std::size_t i, std::string_view key, std::string_view value) {
  const std::optional<std::string> normal = Normalized(value);
  std::unique_ptr<CPrnStaticInfo> before = i < w.model.size() ? CopyOf(w.model[i]) : nullptr;
  if (orvx::Status s = w.model.Set(i, key, value); s.Failed()) return s;
  if (!normal) {  // the library took what the script could not replay
    w.model[i].CopyParam(before.get());
    return {orvx::Status::Argument, "the value is no JSON text"};
  }
  w.done.push_back({Edit::Kind::Record, i, 0, std::move(before),
                    "[\"set\"," + std::to_string(i) + "," + Quoted(key) + "," + *normal + "]"});
  return {};
}

orvx::Status SetFlag(orvx_web_db& w, std::size_t i, std::string_view name, bool on) {
  std::unique_ptr<CPrnStaticInfo> before = i < w.model.size() ? CopyOf(w.model[i]) : nullptr;
  if (orvx::Status s = w.model.SetFlag(i, name, on); s.Failed()) return s;
  w.done.push_back({Edit::Kind::Record, i, 0, std::move(before),
                    "[\"setFlag\"," + std::to_string(i) + "," + Quoted(name) + "," + (on ? "true" : "false") + "]"});
  return {};
}

// A record made of `fields` (a model of the JSON form, read as build reads
// it), or a blank one for null, inserted at `at`.
orvx::Status Insert(orvx_web_db& w, std::size_t at, const Json& fields) {
  std::unique_ptr<CPrnStaticInfo> record;
  if (!fields.is_null()) {
    auto made = orvdb::RecordFromJson(fields, at);
    if (!made) return std::move(made).status();
    record = std::move(made).value();
  }
  if (orvx::Status s = w.model.Insert(at, record.get()); s.Failed()) return s;
  w.done.push_back({Edit::Kind::Insert, at, 0, nullptr, "[\"insert\"," + std::to_string(at) + "," + fields.dump() + "]"});
  return {};
}

orvx::Status Remove(orvx_web_db& w, std::size_t i) {
  std::unique_ptr<CPrnStaticInfo> removed = i < w.model.size() ? CopyOf(w.model[i]) : nullptr;
  if (orvx::Status s = w.model.Remove(i); s.Failed()) return s;
  w.done.push_back({Edit::Kind::Remove, i, 0, std::move(removed), "[\"remove\"," + std::to_string(i) + "]"});
  return {};
}

orvx::Status Move(orvx_web_db& w, std::size_t from, std::size_t to) {
  if (orvx::Status s = w.model.Move(from, to); s.Failed()) return s;
  w.done.push_back({Edit::Kind::Move, from, to, nullptr,
                    "[\"move\"," + std::to_string(from) + "," + std::to_string(to) + "]"});
  return {};
}

// A record index of a script entry.
bool Index(const Json& v, std::size_t& out) {
  if (!v.is_number_unsigned()) return false;
  out = v.get<std::size_t>();
  return true;
}

// One entry of an edit script, as edits() writes them.
orvx::Status Replay(orvx_web_db& w, const Json& e) {
  const orvx::Status bad{orvx::Status::Argument,
                         "an edit is [\"set\", i, key, value], [\"setFlag\", i, name, on], [\"insert\", i, fields or "
                         "null], [\"remove\", i] or [\"move\", from, to]"};
  if (!e.is_array() || e.empty() || !e[0].is_string()) return bad;
  const std::string& op = e[0].get_ref<const std::string&>();
  std::size_t i = 0, to = 0;
  if (e.size() < 2 || !Index(e[1], i)) return bad;
  if (op == "set" && e.size() == 4 && e[2].is_string()) return SetValue(w, i, e[2].get<std::string>(), e[3].dump());
  if (op == "setFlag" && e.size() == 4 && e[2].is_string() && e[3].is_boolean())
    return SetFlag(w, i, e[2].get<std::string>(), e[3].get<bool>());
  if (op == "insert" && e.size() == 3) return Insert(w, i, e[2]);
  if (op == "remove" && e.size() == 2) return Remove(w, i);
  if (op == "move" && e.size() == 3 && Index(e[2], to)) return Move(w, i, to);
  return bad;
}

// Takes back the last edit of `done`: each record it names is still there.
orvx::Status Revert(orvx_web_db& w) {
  Edit& e = w.done.back();
  orvx::Status s;
  switch (e.kind) {
    case Edit::Kind::Record:
      w.model[e.at].CopyParam(e.kept.get());
      break;
    case Edit::Kind::Insert:
      s = w.model.Remove(e.at);
      break;
    case Edit::Kind::Remove:
      s = w.model.Insert(e.at, e.kept.get());
      break;
    case Edit::Kind::Move:
      s = w.model.Move(e.to, e.at);
      break;
  }
  if (s.Failed()) return s;
  w.done.pop_back();
  return {};
}

// The answer to an edit, an undo or a redo: the record count, what can be
// undone and redone, and the edit's script entry.
char* State(orvx_web_db& w, const std::string& edit) {
  w.linted = false;
  Json state = {{"count", w.model.size()}, {"edits", w.done.size()}, {"canUndo", !w.done.empty()},
                {"canRedo", !w.undone.empty()}};
  state["edit"] = edit.empty() ? Json(nullptr) : Json::parse(edit);
  return Answer(state);
}

// Runs a new edit: on success the redo side goes.
template <typename F>
char* NewEdit(orvx_web_db* w, F&& edit) {
  if (!w) return ErrorAnswer("no database");
  try {
    if (orvx::Status s = edit(*w); s.Failed()) return ErrorAnswer(s.message);
    w->undone.clear();
    return State(*w, w->done.back().script);
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  } catch (const std::exception& e) {  // the JSON library's, on a value it cannot write back
    return ErrorAnswer(e.what());
  }
}

}  // namespace

extern "C" {

void orvx_web_free(char* answer) { std::free(answer); }

// Opens `size` bytes at `data`: its JSON form or the file layout, as
// orvx::GuessForm tells them apart (the tool's way). *out receives the handle
// for orvx_web_close; the answer gives the record count, or the error (with
// the byte offset of a damaged file).
char* orvx_web_open(const char* data, std::size_t size, orvx_web_db** out) {
  if (!out) return ErrorAnswer("no handle to fill");
  *out = nullptr;
  try {
    auto w = std::make_unique<orvx_web_db>();
    std::string bytes(data ? data : "", data ? size : 0);
    const auto span = [&] { return std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()); };
    w->form = orvx::GuessForm(span(), bytes.size()) == orvx::FileForm::Json ? "json" : "dat";
    if (w->form == "json") {
      orvx::ModelDatabase models;
      if (const orvx::Status e = orvdb::ModelsFromText("models", bytes, models); e.Failed()) return ErrorAnswer(e.message);
      bytes = orvdb::DatabaseBytes(models);
    }
    // The edited database keeps the bytes (Bytes() gives them back while
    // nothing changed); the opened one tells how far the read got.
    if (const orvx::Status e = w->model.LoadBytes(span()); e.Failed())
      return Answer({{"error", e.message}, {"offset", e.where}});
    orvx::Framing framing;
    const orvx::Status load = orvx::LoadBytes(span(), w->opened, &framing);
    if (!orvdb::LintFraming(load, framing, w->framing)) return ErrorAnswer(load.message);
    if (!w->framing.empty()) w->openedBytes.assign(span().begin(), span().end());
    *out = w.release();
    return Answer({{"count", (*out)->model.size()}, {"form", (*out)->form}});
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

void orvx_web_close(orvx_web_db* w) { delete w; }

// One line per record for the catalogue: [index, name, vendor, group, flags
// word, classic rule, extended rule, lint findings].
char* orvx_web_records(orvx_web_db* w) {
  if (!w) return ErrorAnswer("no database");
  try {
    std::vector<int> lint(w->model.size(), 0);
    for (const auto& f : Findings(*w))
      if (f.index >= 0 && static_cast<std::size_t>(f.index) < lint.size()) ++lint[static_cast<std::size_t>(f.index)];
    Json rows = Json::array();
    for (std::size_t i = 0; i < lint.size(); ++i) {
      const CPrnStaticInfo& r = w->model[i];
      const int vendor = r.GetVenderID(), group = r.GetModelGroupID();
      rows.push_back({i, Name(r), vendor, group, r.Fields().Flags, Route(vendor, group, false),
                      Route(vendor, group, true), lint[i]});
    }
    return Answer(rows);
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// Everything about record `index`: its fields as the JSON form writes them,
// its flags by name, each information key's stored value beside GetInfo's
// answer, its size lists, both picture rules and its lint findings.
char* orvx_web_record(orvx_web_db* w, std::size_t index) {
  const CPrnStaticInfo* r = orvx_web::Record(w, index);
  if (!r) return ErrorAnswer("no record " + std::to_string(index));
  try {
    const CPrnStaticInfo& record = *r;
    Json flags = Json::array();
    for (const orvx::FlagDesc& f : orvx::RecordFlags())
      flags.push_back({{"name", f.name}, {"bit", f.bit}, {"set", (record.*f.get)() == 1}});
    Json info = Json::array();
    for (const auto& d : orvx::RecordFields()) {
      for (const DWORD key : {d.key, d.aliasKey}) {
        if (!key) continue;
        info.push_back({{"key", key}, {"field", d.name}, {"stored", orvx::ReadField(record.Fields(), d)},
                        {"getInfo", record.GetInfo(key)}});
      }
      if (d.setOnlyKey) info.push_back({{"key", d.setOnlyKey}, {"field", d.name}, {"setOnly", true}});
    }
    std::vector<BYTE> block(static_cast<std::size_t>(record.GetInTraySPSZSizeList(nullptr)));
    record.GetInTraySPSZSizeList(block.data());
    Json findings = Json::array();
    for (const auto& f : Findings(*w))
      if (f.index == static_cast<std::ptrdiff_t>(index)) findings.push_back(FindingJson(f));
    const int vendor = record.GetVenderID(), group = record.GetModelGroupID();
    return Answer({{"index", index},
                   {"name", Name(record)},
                   {"fields", orvdb::RecordToJson(record)},
                   {"flags", std::move(flags)},
                   {"info", std::move(info)},
                   {"sizeLists", SizeLists(block)},
                   {"rules", {{"GetPictureID", Route(vendor, group, false)}, {"GetPictureIDEx", Route(vendor, group, true)}}},
                   {"findings", std::move(findings)}});
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// The record the host's lookup gives for `name`, and how it matched.
char* orvx_web_lookup(orvx_web_db* w, const char* name) {
  if (!w || !name) return ErrorAnswer("no database or name");
  try {
    const orvx::LookupResult found = w->model.Lookup(name);
    if (found.index < 0) return Answer({{"index", nullptr}});
    return Answer({{"index", found.index},
                   {"modelName", Name(w->model[static_cast<std::size_t>(found.index)])},
                   {"match", orvx::MatchName(found.how)}});
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// Lint's findings for the whole database as it is now, in record order.
char* orvx_web_lint(orvx_web_db* w) {
  if (!w) return ErrorAnswer("no database");
  try {
    Json all = Json::array();
    for (const auto& f : Findings(*w)) all.push_back(FindingJson(f));
    return Answer(all);
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// ---- editing. Each answers {count, edits, canUndo, canRedo, edit} (the
// edit's script entry), or {"error"} with the library's message and nothing
// changed. `value` and `fields` are JSON texts.

char* orvx_web_set(orvx_web_db* w, std::size_t index, const char* key, const char* value) {
  if (!key || !value) return ErrorAnswer("no key or value");
  return NewEdit(w, [&](orvx_web_db& d) { return SetValue(d, index, key, value); });
}

char* orvx_web_set_flag(orvx_web_db* w, std::size_t index, const char* name, int on) {
  if (!name) return ErrorAnswer("no flag name");
  return NewEdit(w, [&](orvx_web_db& d) { return SetFlag(d, index, name, on != 0); });
}

char* orvx_web_insert(orvx_web_db* w, std::size_t at, const char* fields) {
  const Json f = Json::parse(fields ? fields : "null", nullptr, false);
  if (f.is_discarded()) return ErrorAnswer("the fields of a new record are no JSON text");
  return NewEdit(w, [&](orvx_web_db& d) { return Insert(d, at, f); });
}

char* orvx_web_remove(orvx_web_db* w, std::size_t index) {
  return NewEdit(w, [&](orvx_web_db& d) { return Remove(d, index); });
}

char* orvx_web_move(orvx_web_db* w, std::size_t from, std::size_t to) {
  return NewEdit(w, [&](orvx_web_db& d) { return Move(d, from, to); });
}

char* orvx_web_undo(orvx_web_db* w) {
  if (!w) return ErrorAnswer("no database");
  if (w->done.empty()) return ErrorAnswer("nothing to undo");
  try {
    std::string script = w->done.back().script;
    if (orvx::Status s = Revert(*w); s.Failed()) return ErrorAnswer(s.message);
    w->undone.push_back(std::move(script));
    return State(*w, w->undone.back());
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// Applies the last undone edit again, through its script entry.
char* orvx_web_redo(orvx_web_db* w) {
  if (!w) return ErrorAnswer("no database");
  if (w->undone.empty()) return ErrorAnswer("nothing to redo");
  try {
    if (orvx::Status s = Replay(*w, Json::parse(w->undone.back())); s.Failed()) return ErrorAnswer(s.message);
    w->undone.pop_back();
    return State(*w, w->done.back().script);
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  } catch (const std::exception& e) {
    return ErrorAnswer(e.what());
  }
}

// The applied edits, oldest first, as a script that orvx_web_apply replays.
char* orvx_web_edits(orvx_web_db* w) {
  if (!w) return ErrorAnswer("no database");
  std::string out = "[";
  for (const Edit& e : w->done) out += (out.size() > 1 ? "," : "") + e.script;
  return Copy(out + "]");
}

// Applies an edit script whole or not at all: a refused entry takes back the
// ones before it, and the error says which entry ({"error", "edit": n}).
char* orvx_web_apply(orvx_web_db* w, const char* script) {
  if (!w) return ErrorAnswer("no database");
  const Json edits = Json::parse(script ? script : "", nullptr, false);
  if (!edits.is_array()) return ErrorAnswer("an edit script is a JSON array of edits");
  const std::size_t before = w->done.size();
  std::size_t n = 0;
  orvx::Status problem;
  try {
    for (; n < edits.size() && !problem.Failed(); ++n) problem = Replay(*w, edits[n]);
    if (!problem.Failed()) {
      if (!edits.empty()) w->undone.clear();
      return State(*w, "");
    }
    --n;
  } catch (const std::bad_alloc&) {
    problem = {orvx::Status::Memory, "not enough memory"};
  } catch (const std::exception& e) {
    problem = {orvx::Status::Argument, e.what()};
  }
  while (w->done.size() > before) (void)Revert(*w);
  w->linted = false;
  return Answer({{"error", problem.message}, {"edit", n}});
}

// The database in `form` ("dat": the file layout, the opened bytes while
// nothing changed; "json": the JSON form as `orvdb export` writes it) in a
// new buffer at *bytes for orvx_web_free, its length in *size; the answer
// says {"size"} or the error.
char* orvx_web_save(orvx_web_db* w, const char* form, char** bytes, std::size_t* size) {
  if (!w || !form || !bytes || !size) return ErrorAnswer("no database, form or buffer");
  *bytes = nullptr;
  *size = 0;
  try {
    const bool dat = std::strcmp(form, "dat") == 0;
    if (!dat && std::strcmp(form, "json") != 0)
      return ErrorAnswer(std::string("no form \"") + form + "\": \"dat\" or \"json\"");
    std::vector<std::uint8_t> file;
    std::string json;
    if (dat)
      file = w->model.Bytes();
    else
      json = orvx::DatabaseJson(w->model);
    const std::string_view text =
        dat ? std::string_view(reinterpret_cast<const char*>(file.data()), file.size()) : std::string_view(json);
    if (!(*bytes = Copy(text))) return ErrorAnswer("not enough memory");
    *size = text.size();
    return Answer({{"size", text.size()}});
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// What `orvdb diff --json OLD NEW` prints for the database as opened and as
// it is now. `options` is a JSON object: "old" and "new", the names the
// report gives the two (default "opened" and "edited"), "names" (more names
// to look up) and "configs" (picture requests, one a string, as --configs
// reads them).
char* orvx_web_changes(orvx_web_db* w, const char* options) {
  if (!w) return ErrorAnswer("no database");
  const Json o = Json::parse(options && *options ? options : "{}", nullptr, false);
  if (!o.is_object()) return ErrorAnswer("the options of changes() are a JSON object");
  try {
    orvdb::DiffOptions d;
    d.json = true;
    orvdb::DiffExtras extras;
    extras.configsLabel = "configs";
    for (auto [key, label, fallback] : {std::tuple{"old", &d.oldPath, "opened"}, std::tuple{"new", &d.newPath, "edited"}}) {
      const auto it = o.find(key);
      if (it != o.end() && !it->is_string()) return ErrorAnswer(std::string("\"") + key + "\" is a string");
      *label = it == o.end() ? fallback : it->get<std::string>();
    }
    for (const char* key : {"names", "configs"}) {
      const auto it = o.find(key);
      if (it == o.end()) continue;
      auto& lines = key[0] == 'n' ? extras.names : extras.configs;
      if (!it->is_array()) return ErrorAnswer(std::string("\"") + key + "\" is an array of strings");
      for (const auto& line : *it) {
        if (!line.is_string()) return ErrorAnswer(std::string("\"") + key + "\" is an array of strings");
        lines.push_back(line.get<std::string>());
      }
    }
    std::string text;
    const orvx::Result<bool> differs = orvdb::Diff(w->opened, w->model, d, extras, text);
    if (!differs) return ErrorAnswer(differs.status().message);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return Copy(text);
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// What the module knows without a database: the version, the flags, and the
// one-line meaning of every field of a record (the table `orvdb show` prints),
// with the note that most information fields share.
char* orvx_web_about(void) {
  Json flags = Json::array();
  for (std::size_t i = 0; i < orvx_flag_count(); ++i) flags.push_back({{"name", orvx_flag_name(i)}, {"bit", orvx_flag_bit(i)}});
  Json notes = Json::object();
  for (const auto& n : orvdb::kFieldNotes) notes[std::string(n.field)] = n.note;
  for (const auto& d : orvx::RecordFields()) notes[std::string(d.name)] = orvdb::FieldNoteOf(d.name);
  const Json hostStrings = {{"manualTray", orvx_manual_tray_string_id()}, {"defaultTray", orvx_default_tray_string_id()}};
  return Answer({{"version", orvx_version()}, {"flags", std::move(flags)}, {"fieldNotes", std::move(notes)},
                 {"hostValueNote", orvdb::kHostValueNote}, {"hostStrings", hostStrings}});
}

}  // extern "C"
