// The module's database side: open from bytes (the file layout or its JSON
// form), the records, the lookup and lint, each answered as JSON for the
// page. Every answer comes from the C interface, the library's record
// tables and the tool's lint and JSON code compiled in beside them.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <vector>

#include "field_notes.h"
#include "lint.h"
#include "orvx/db_form.h"
#include "orvx/orvx.h"
#include "orvx/picture.h"
#include "orvx/record_fields.h"
#include "orvx/size_list.h"
#include "web_api.h"
#include "db_file.h"

using orvdb::Json;

struct orvx_web_db {
  orvx_db* c = nullptr;                  // the C interface's handle: names, flags, info, lookup
  orvx::ModelDatabase model;             // the same records for lint and the JSON form of a record
  std::vector<orvdb::Finding> findings;  // lint's findings, made once at open
  std::string form;                      // "dat" or "json"
  orvx_web_db() = default;
  orvx_web_db(const orvx_web_db&) = delete;
  orvx_web_db& operator=(const orvx_web_db&) = delete;
  ~orvx_web_db() { orvx_db_close(c); }
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

std::string Name(const orvx_record* r) {
  std::size_t length = 0;
  const char* name = orvx_record_name(r, &length);
  return std::string(name, length);
}

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
    const std::span<const std::uint8_t> head(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    w->form = orvx::GuessForm(head, bytes.size()) == orvx::FileForm::Json ? "json" : "dat";
    if (w->form == "json") {
      orvx::ModelDatabase models;
      if (const orvx::Status e = orvdb::ModelsFromText("models", bytes, models); e.Failed()) return ErrorAnswer(e.message);
      bytes = orvdb::DatabaseBytes(models);
    }
    orvx_error err{};
    if (orvx_db_open_memory(bytes.data(), bytes.size(), &w->c, &err) != ORVX_OK)
      return Answer({{"error", err.message}, {"offset", err.offset}});
    orvx::Framing framing;
    const orvx::Status load =
        orvx::LoadBytes({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, w->model, &framing);
    if (!orvdb::LintFraming(load, framing, w->findings)) return ErrorAnswer(load.message);
    const auto records = orvdb::LintRecords(w->model);
    w->findings.insert(w->findings.end(), records.begin(), records.end());
    *out = w.release();
    return Answer({{"count", orvx_db_count((*out)->c)}, {"form", (*out)->form}});
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
    std::vector<int> lint(orvx_db_count(w->c), 0);
    for (const auto& f : w->findings)
      if (f.index >= 0 && static_cast<std::size_t>(f.index) < lint.size()) ++lint[static_cast<std::size_t>(f.index)];
    Json rows = Json::array();
    for (std::size_t i = 0; i < lint.size(); ++i) {
      const orvx_record* r = orvx_db_record(w->c, i);
      const int vendor = orvx_record_vendor_id(r), group = orvx_record_model_group_id(r);
      rows.push_back({i, Name(r), vendor, group, orvx_record_flags(r), Route(vendor, group, false),
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
  const orvx_record* r = w ? orvx_db_record(w->c, index) : nullptr;
  if (!r) return ErrorAnswer("no record " + std::to_string(index));
  try {
    const CPrnStaticInfo& record = w->model[index];
    Json flags = Json::array();
    for (std::size_t i = 0; i < orvx_flag_count(); ++i)
      flags.push_back({{"name", orvx_flag_name(i)}, {"bit", orvx_flag_bit(i)}, {"set", orvx_record_flag(r, i) == 1}});
    Json info = Json::array();
    for (const auto& d : orvx::RecordFields()) {
      for (const DWORD key : {d.key, d.aliasKey}) {
        if (!key) continue;
        std::int32_t value = -1;
        orvx_record_info(r, key, &value);
        info.push_back({{"key", key}, {"field", d.name}, {"stored", orvx::ReadField(record.Fields(), d)},
                        {"getInfo", value}});
      }
      if (d.setOnlyKey) info.push_back({{"key", d.setOnlyKey}, {"field", d.name}, {"setOnly", true}});
    }
    unsigned char block[256];
    const std::size_t length = orvx_record_size_list_block(r, block, sizeof block);
    Json findings = Json::array();
    for (const auto& f : w->findings)
      if (f.index == static_cast<std::ptrdiff_t>(index)) findings.push_back(FindingJson(f));
    const int vendor = orvx_record_vendor_id(r), group = orvx_record_model_group_id(r);
    return Answer({{"index", index},
                   {"name", Name(r)},
                   {"fields", orvdb::RecordToJson(record)},
                   {"flags", std::move(flags)},
                   {"info", std::move(info)},
                   {"sizeLists", SizeLists({block, length})},
                   {"rules", {{"GetPictureID", Route(vendor, group, false)}, {"GetPictureIDEx", Route(vendor, group, true)}}},
                   {"findings", std::move(findings)}});
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// The record the host's lookup gives for `name`, and how it matched.
char* orvx_web_lookup(orvx_web_db* w, const char* name) {
  if (!w || !name) return ErrorAnswer("no database or name");
  int how = 0;
  std::size_t index = 0;
  const orvx_record* r = orvx_db_lookup(w->c, name, &how, &index);
  if (!r) return Answer({{"index", nullptr}});
  return Answer({{"index", index}, {"modelName", Name(r)}, {"match", orvx_match_name(how)}});
}

// Lint's findings for the whole database, in record order.
char* orvx_web_lint(orvx_web_db* w) {
  if (!w) return ErrorAnswer("no database");
  Json all = Json::array();
  for (const auto& f : w->findings) all.push_back(FindingJson(f));
  return Answer(all);
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
