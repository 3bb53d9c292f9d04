// Picture requests and answers as JSON, one codec for every face that speaks
// it: orvdb eval, `orvdb picture --json`, `orvdb diff --configs` and the
// page's module. One decoder (the same members, checks and error texts for
// all), one way to choose the record, one call, one answer shape.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/json_reader.h"
#include "orvx/database.h"
#include "orvx/picture.h"
#include "orvx/prn_static_info.h"

namespace orvdb {

namespace json = orvx::json;

// A request that cannot be answered; the message is the answer's "error".
struct RequestError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct TrayInput {
  std::string name;
  int id = ORVX_TRAY_NEW_ID;
  int addUnit = ORVX_TRAY_NEW_ADD_UNIT;
  int delivery = ORVX_TRAY_NEW_DELIVERY;  // out-trays only
};

// One picture request. Its lists keep their storage from one request to the
// next, so a stream of requests allocates nothing once warm.
struct PictureRequest {
  bool extended = true;  // GetPictureIDEx, else GetPictureID
  bool byNames = false;  // the name-list form: trays are names only, and the answer lists none
  bool explain = false;  // the answer carries the trace
  std::vector<TrayInput> in, out;
  std::size_t inCount = 0, outCount = 0;  // trays in use
  int duplexUnit = 0, outputUnit = 0;
  std::vector<std::string> options, docOptions;
  std::size_t optionCount = 0, docOptionCount = 0;
  bool hasManualTray = false, hasDefaultTray = false;  // the host strings the rules read
  std::string manualTray, defaultTray;
  // The record: a database's model ("db" and "model"), or a fresh record
  // ("vendor" and "group", "model" naming it).
  bool hasDb = false, hasModel = false, hasVendor = false, hasGroup = false;
  std::string db, model;
  int vendor = 0, group = 0;

  void Clear();
  TrayInput& AddIn();
  TrayInput& AddOut();
  std::string& AddOption();
  std::string& AddDocOption();
  // The text of host string `id` ("9481"); any string the rules do not read is refused.
  std::string& HostString(std::string_view id);
};

// Where a decoded request's record comes from.
enum class RecordFrom {
  Request,  // its "db" and "model", or "vendor" and "group"
  Caller,   // the caller has it (the page's module): those members are refused
};

// The record a request names.
struct ChosenRecord {
  const CPrnStaticInfo* record = nullptr;
  bool fromDatabase = false;
  orvx::LookupResult found;  // from a database: where and how the lookup found it
};

// Checks which record `r` names: true for a database's model, false for a fresh record.
bool NamesDatabaseModel(const PictureRequest& r);
// `fresh` as the fresh record `r` describes: a new record's values but its vendor, group and name.
void MakeFreshRecord(const PictureRequest& r, CPrnStaticInfo& fresh);
// The model `r` names in `db`, found with the library's lookup; an empty database is refused.
ChosenRecord FindModel(const PictureRequest& r, const orvx::ModelDatabase& db);

// The record `r` names: `load(path)` gives the database of a path, a fresh
// record is written into `fresh`.
template <class Load>
ChosenRecord ChooseRecord(const PictureRequest& r, Load&& load, CPrnStaticInfo& fresh) {
  if (NamesDatabaseModel(r)) return FindModel(r, load(r.db));
  MakeFreshRecord(r, fresh);
  return {&fresh, false, {}};
}

// ---- reading requests: every request kind reads its members this way ----

// Reads one request line: its object, or a RequestError saying where it is
// no JSON or no object.
void ParseRequest(json::Reader& reader, std::string_view line);

inline std::string Quoted(std::string_view name) {
  std::string quoted(1, '"');
  quoted.append(name).push_back('"');
  return quoted;
}

// The member names a request kind may use, with a table that finds a name in
// one probe. It is built at compile time, which refuses two names in a slot.
template <std::size_t N>
class MemberNames {
 public:
  consteval explicit MemberNames(const std::array<std::string_view, N>& names) : names_(names) {
    for (std::size_t i = 0; i < N; ++i) {
      std::uint8_t& slot = slots_[Slot(names[i])];
      if (slot) throw "two member names share a slot: change the factors of Slot";
      slot = static_cast<std::uint8_t>(i + 1);
    }
  }
  // The index of `key`, or N for a name that is none of them.
  constexpr std::size_t Find(std::string_view key) const {
    const std::size_t i = slots_[Slot(key)];
    return i && names_[i - 1] == key ? i - 1 : N;
  }
  constexpr std::string_view operator[](std::size_t i) const { return names_[i]; }

 private:
  static constexpr std::size_t Slot(std::string_view k) {
    return k.empty() ? 0
                     : (k.size() + 2u * static_cast<unsigned char>(k.front()) + 8u * static_cast<unsigned char>(k.back())) & 31u;
  }
  std::array<std::string_view, N> names_;
  std::array<std::uint8_t, 32> slots_{};
};

// The request's members by the names it may use, in one pass over them: slot
// i is the value of names[i], or null. Any other name is refused.
template <std::size_t N>
std::array<const json::Value*, N> Members(const json::Reader& r, const MemberNames<N>& names, std::string_view what) {
  std::array<const json::Value*, N> slots{};
  for (std::size_t m = 0; m < r.MemberCount(); ++m) {
    const std::size_t i = names.Find(r.Key(m));
    if (i == N) throw RequestError("unknown member " + Quoted(r.Key(m)) + " in " + std::string(what));
    slots[i] = &r.MemberValue(m);
  }
  return slots;
}
// An integer from `low` to `high`; `fallback` when the member is absent.
long long Integer(const json::Value* v, std::string_view name, long long fallback, long long low, long long high);
// A string into `out`, which stays as it was when the member is absent.
void Text(const json::Value* v, std::string_view name, std::string& out);

// Appends `s` to `out` as a JSON string; bytes that are not UTF-8 become U+FFFD.
void AppendJsonString(std::string& out, std::string_view s);
// Appends {"error": message}.
void AppendError(std::string& out, std::string_view message);

// Decodes, runs and answers picture requests; keeps its tray records, lists
// and trace from one request to the next. One codec serves one thread at a time.
class PictureCodec {
 public:
  // Reads the picture request that `reader` holds (a parsed object) into `r`.
  void Decode(const json::Reader& reader, PictureRequest& r, RecordFrom from);
  // Runs `r` on `record`: the picture ID; the trays as the rule left them and,
  // when `r` asks for it, the trace stay until the next call.
  DWORD Run(const CPrnStaticInfo& record, const PictureRequest& r);
  // Appends the answer to the last Run of `r` on `chosen`'s record.
  void Encode(const PictureRequest& r, const ChosenRecord& chosen, DWORD pictureId, std::string& out) const;
  // Run and Encode.
  void Answer(const PictureRequest& r, const ChosenRecord& chosen, std::string& out) {
    Encode(r, chosen, Run(*chosen.record, r), out);
  }

  const COptInTray& In(std::size_t i) const { return caller_.In(i); }
  const COptOutTray& Out(std::size_t i) const { return caller_.Out(i); }
  const orvx::PictureTrace& Trace() const { return trace_; }

 private:
  orvx::PictureCaller caller_;
  orvx::PictureTrace trace_;
  std::vector<orvx::PictureTray> in_, out_;
  std::vector<std::string_view> options_, docOptions_;
  std::string key_, text_;
};

}  // namespace orvdb
