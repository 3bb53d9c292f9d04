// The C interface: argument checks, handle conversions and error reports
// around the C++ classes. No rule of the system lives here.
#include "orvx/orvx.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "orvx/afx_host.h"
#include "orvx/afx_registry.h"
#include "orvx/comm_store.h"
#include "orvx/registry_check.h"
#include "orvx/database.h"
#include "c_api/c_status.h"
#include "framework/file_status.h"
#include "model_db/db_loader.h"
#include "orvx/picture.h"
#include "orvx/record_fields.h"
#include "orvx/record_json.h"
#include "orvx/size_list.h"
#include "orvx/supported_model.h"
#include "orvx/whole_file.h"

struct orvx_db {
  orvx::ModelDatabase db;
};

namespace {

const CPrnStaticInfo* Rec(const orvx_record* r) { return reinterpret_cast<const CPrnStaticInfo*>(r); }
orvx_record* Handle(CPrnStaticInfo& r) { return reinterpret_cast<orvx_record*>(&r); }

int Fail(orvx_error* err, int status, const std::string& message, std::uint64_t offset = 0) {
  if (err) {
    err->status = status;
    err->offset = offset;
    std::snprintf(err->message, sizeof err->message, "%s", message.c_str());
  }
  return status;
}

int Ok(orvx_error* err) {
  if (err) {
    err->status = ORVX_OK;
    err->offset = 0;
    err->message[0] = '\0';
  }
  return ORVX_OK;
}

int FromError(orvx_error* err, const orvx::Status& e) {
  const bool located = e.code == orvx::Status::Format || e.code == orvx::Status::BadStore;
  return Fail(err, orvx::c_api::ToC(e.code), e.message, located ? static_cast<std::uint64_t>(e.where) : 0);
}

// What an exception that reached the C edge was, as a status. Nothing below
// throws but for memory; the rest is kept apart rather than called an I/O error.
orvx::Status Caught() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return {orvx::Status::Memory, "not enough memory"};
  } catch (const std::length_error& e) {  // a size past what a container can hold
    return {orvx::Status::Memory, std::string("not enough memory: ") + e.what()};
  } catch (const CArchiveException& e) {
    return {orvx::Status::Format, "malformed data at byte " + std::to_string(e.m_offset), 0, static_cast<long long>(e.m_offset)};
  } catch (const CFileException& e) {
    orvx::Status s = orvx::detail::FromException(e);
    s.message = e.m_strFileName + ": " + s.message;
    return s;
  } catch (const std::system_error& e) {
    return {orvx::Status::Io, e.what(), e.code().value()};
  } catch (const std::logic_error& e) {  // invalid_argument, out_of_range, domain_error
    return {orvx::Status::Argument, e.what()};
  } catch (const std::exception& e) {
    return {orvx::Status::Io, std::string("unexpected failure: ") + e.what()};
  } catch (...) {
    return {orvx::Status::Io, "unexpected failure"};
  }
}

// Runs `body`; nothing thrown may cross into C.
template <typename Body>
int Guard(orvx_error* err, Body body) {
  try {
    return body();
  } catch (...) {
    return FromError(err, Caught());
  }
}

template <typename Load>
int Open(bool haveSource, orvx_db** db, orvx_error* err, Load load) {
  if (!db) return Fail(err, ORVX_E_ARGUMENT, "no handle to fill");
  *db = nullptr;
  if (!haveSource) return Fail(err, ORVX_E_ARGUMENT, "no path or data to open");
  return Guard(err, [&] {
    auto handle = std::make_unique<orvx_db>();
    if (const orvx::Status e = load(handle->db); e.Failed()) return FromError(err, e);
    *db = handle.release();
    return Ok(err);
  });
}

std::size_t Copy(const BYTE* data, int length, unsigned char* out, std::size_t capacity) {
  const auto n = static_cast<std::size_t>(std::max(length, 0));
  if (out && data && capacity >= n && n) std::memcpy(out, data, n);
  return n;
}

// A size-list getter into a buffer of the largest size a list can have.
template <typename Get>
std::size_t SizeList(const orvx_record* r, unsigned char* out, std::size_t capacity, Get get) {
  if (!r) return 0;
  BYTE buffer[256];
  return Copy(buffer, get(*Rec(r), buffer), out, capacity);
}

bool NamesValid(const char* const* names, std::size_t count) {
  if (count && !names) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (!names[i]) return false;
  return true;
}

bool TraysValid(const orvx_tray* trays, std::size_t count) {
  if (count && !trays) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (!trays[i].name) return false;
  return true;
}

void WriteBack(orvx_tray& t, const CString& name, int id) {
  t.id = id;
  t.final_name_length = static_cast<std::size_t>(name.GetLength());
  std::snprintf(t.final_name, sizeof t.final_name, "%s", name.c_str());
}

std::vector<orvx::PictureTray> Trays(const orvx_tray* trays, std::size_t count) {
  std::vector<orvx::PictureTray> out;
  out.reserve(count);
  for (std::size_t i = 0; i < count; ++i) out.push_back({trays[i].name, trays[i].id, trays[i].add_unit, trays[i].delivery});
  return out;
}

std::vector<std::string_view> Views(const char* const* names, std::size_t count) {
  return {names, names + count};
}

}  // namespace

struct orvx_trace {
  orvx::PictureTrace trace;
};

namespace {

// The one call, behind every picture function of this interface.
int Picture(const orvx_record* r, const orvx_picture_call& c, uint32_t* pictureId, orvx_trace** trace,
            orvx_error* err) {
  if (trace) *trace = nullptr;
  if (pictureId) *pictureId = 0;
  if (!r || !pictureId) return Fail(err, ORVX_E_ARGUMENT, "no record or no result to fill");
  if (!TraysValid(c.in, c.in_count) || !TraysValid(c.out, c.out_count) || !NamesValid(c.options, c.option_count) ||
      !NamesValid(c.doc_options, c.doc_option_count))
    return Fail(err, ORVX_E_ARGUMENT, "a tray or name list, or a name in it, is NULL");
  return Guard(err, [&] {
    const std::vector<orvx::PictureTray> in = Trays(c.in, c.in_count), out = Trays(c.out, c.out_count);
    // GetPictureID reads no unit names; the library still lists them in the trace as unread.
    const std::vector<std::string_view> options = Views(c.options, c.option_count),
                                        docOptions = Views(c.doc_options, c.doc_option_count);
    orvx::PictureCall call{c.extended != 0, in, out, c.duplex_unit, c.output_unit, options, docOptions, {}, {}};
    if (c.manual_tray_name) call.manualTrayName = c.manual_tray_name;
    if (c.default_tray_name) call.defaultTrayName = c.default_tray_name;
    auto owned = trace ? std::make_unique<orvx_trace>() : nullptr;
    orvx::PictureCaller caller;
    const DWORD id = caller.Call(*Rec(r), call, owned ? &owned->trace : nullptr);
    for (std::size_t i = 0; i < c.in_count; ++i) WriteBack(c.in[i], caller.In(i).GetName(), caller.In(i).GetID());
    for (std::size_t i = 0; i < c.out_count; ++i) WriteBack(c.out[i], caller.Out(i).GetName(), caller.Out(i).GetID());
    *pictureId = id;
    if (trace) *trace = owned.release();
    return Ok(err);
  });
}

// The fixed-shape calls take the host strings of the process-wide table.
struct TableStrings {
  std::string manual, dflt;
  bool hasManual, hasDefault;
  TableStrings()
      : hasManual(orvx::host::FindStringResource(orvx::kManualTrayString, manual)),
        hasDefault(orvx::host::FindStringResource(orvx::kDefaultTrayString, dflt)) {}
  void Into(orvx_picture_call& c) const {
    c.manual_tray_name = hasManual ? manual.c_str() : nullptr;
    c.default_tray_name = hasDefault ? dflt.c_str() : nullptr;
  }
};

// Trays for the name-list forms: default fields, and results nobody reads.
std::vector<orvx_tray> NameTrays(const char* const* names, std::size_t count) {
  std::vector<orvx_tray> trays(count);
  for (std::size_t i = 0; i < count; ++i) orvx_tray_init(&trays[i], names[i]);
  return trays;
}

// Calls `f` with each complete entry of the record's block, in order, until it returns false.
template <typename F>
void WalkSizeLists(const orvx_record* r, F f) {
  BYTE block[256];
  const int n = Rec(r)->GetInTraySPSZSizeList(block);
  orvx::SizeListReader reader({block, static_cast<std::size_t>(std::max(n, 0))});
  for (orvx::SizeListEntry e; reader.Next(e);)
    if (!f(e)) return;
}

int FieldValue(const orvx_record* r, const orvx::FieldDesc* field, int64_t* value) {
  if (!value) return ORVX_E_ARGUMENT;
  *value = 0;
  if (!r) return ORVX_E_ARGUMENT;
  if (!field) return ORVX_E_NOT_FOUND;
  *value = orvx::ReadField(Rec(r)->Fields(), *field);
  return ORVX_OK;
}

// A size list found in the record's block, or told apart as not listed.
template <typename Key>
int FindSizeList(const orvx_record* r, Key key, bool keyValid, unsigned char* out, std::size_t capacity,
                 std::size_t* length) {
  if (!length) return ORVX_E_ARGUMENT;
  *length = 0;
  if (!r || !keyValid) return ORVX_E_ARGUMENT;
  BYTE block[256];
  const int n = Rec(r)->GetInTraySPSZSizeList(block);
  const auto list = orvx::FindSizeList({block, static_cast<std::size_t>(std::max(n, 0))}, key);
  if (!list) return ORVX_E_NOT_FOUND;
  *length = list->size();
  if (!out) return ORVX_OK;
  if (capacity < list->size()) return ORVX_E_ARGUMENT;
  if (!list->empty()) std::memcpy(out, list->data(), list->size());
  return ORVX_OK;
}
}  // namespace

namespace orvx::c_api {

orvx_status ToC(Status::Code code) {
  switch (code) {
    case Status::None: return ORVX_OK;
    case Status::NotFound: return ORVX_E_NOT_FOUND;
    case Status::NotRegular: return ORVX_E_NOT_REGULAR;
    case Status::TooLarge: return ORVX_E_TOO_LARGE;
    case Status::Sharing: return ORVX_E_SHARING;
    case Status::DiskFull: return ORVX_E_DISK_FULL;
    case Status::Io: return ORVX_E_IO;
    case Status::Format: return ORVX_E_FORMAT;
    case Status::Memory: return ORVX_E_MEMORY;
    case Status::Argument: return ORVX_E_ARGUMENT;
    case Status::NoStore: return ORVX_E_NO_STORE;
    case Status::BadStore: return ORVX_E_BAD_STORE;
    case Status::WrongType: return ORVX_E_WRONG_TYPE;
    case Status::EmptyValue: return ORVX_E_EMPTY_VALUE;
    case Status::ValueTooLarge: return ORVX_E_VALUE_TOO_LARGE;
    case Status::Registry: return ORVX_E_REGISTRY;
    case Status::Unsupported: return ORVX_E_UNSUPPORTED;
  }
  return ORVX_E_IO;  // no code is left out above; a compiler warns if one is
}

}  // namespace orvx::c_api

extern "C" {

const char* orvx_status_text(orvx_status status) {
  for (int c = 0; c < orvx::Status::kCodes; ++c)
    if (orvx::c_api::ToC(static_cast<orvx::Status::Code>(c)) == status)
      return orvx::StatusName(static_cast<orvx::Status::Code>(c));
  return nullptr;
}

const char* orvx_version(void) { return ORVX_VERSION_STRING; }
uint32_t orvx_version_number(void) { return orvx::kVersionNumber; }

// The database's own loads: they keep the bytes, which orvx_db_write gives
// back while nothing is changed.
int orvx_db_open_file(const char* path, orvx_db** db, orvx_error* err) {
  return Open(path != nullptr, db, err, [&](orvx::ModelDatabase& d) { return d.LoadFile(path); });
}

int orvx_db_open_memory(const void* data, size_t size, orvx_db** db, orvx_error* err) {
  return Open(data || !size, db, err, [&](orvx::ModelDatabase& d) {
    return d.LoadBytes({static_cast<const std::uint8_t*>(data), size});
  });
}

void orvx_db_close(orvx_db* db) { delete db; }

size_t orvx_db_count(const orvx_db* db) { return db ? db->db.size() : 0; }

orvx_record* orvx_db_record(orvx_db* db, size_t index) {
  if (!db || index >= db->db.size()) return nullptr;
  return Handle(db->db[index]);
}

orvx_record* orvx_db_lookup(orvx_db* db, const char* name, int* how, size_t* index) {
  if (how) *how = ORVX_MATCH_DEFAULT;
  if (index) *index = 0;
  if (!db || !name) return nullptr;
  try {
    const orvx::LookupResult found = db->db.Lookup(name);
    if (found.index < 0) return nullptr;
    if (how) *how = static_cast<int>(found.how);
    if (index) *index = static_cast<size_t>(found.index);
    return orvx_db_record(db, static_cast<size_t>(found.index));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

const char* orvx_match_name(int how) {
  if (how < ORVX_MATCH_EXACT || how > ORVX_MATCH_DEFAULT) return nullptr;
  return orvx::MatchName(static_cast<orvx::Match>(how));
}

const char* orvx_record_name(const orvx_record* r, size_t* length) {
  if (!r) {
    if (length) *length = 0;
    return nullptr;
  }
  const CString& name = Rec(r)->GetModelName();
  if (length) *length = static_cast<size_t>(name.GetLength());
  return name.c_str();
}

int orvx_record_vendor_id(const orvx_record* r) { return r ? Rec(r)->GetVenderID() : 0; }
int orvx_record_model_group_id(const orvx_record* r) { return r ? Rec(r)->GetModelGroupID() : 0; }
int orvx_record_based_model_group_id(const orvx_record* r) { return r ? Rec(r)->GetBasedModelGroupID() : 0; }
int orvx_record_icon_index(const orvx_record* r) { return r ? Rec(r)->GetIconBaseIdx() : 0; }
uint32_t orvx_record_flags(const orvx_record* r) { return r ? Rec(r)->Fields().Flags : 0; }

size_t orvx_flag_count(void) { return orvx::RecordFlags().size(); }

const char* orvx_flag_name(size_t i) {
  return i < orvx::RecordFlags().size() ? orvx::RecordFlags()[i].name.data() : nullptr;
}

uint32_t orvx_flag_bit(size_t i) { return i < orvx::RecordFlags().size() ? orvx::RecordFlags()[i].bit : 0; }

int orvx_record_flag(const orvx_record* r, size_t i) {
  if (!r || i >= orvx::RecordFlags().size()) return -1;
  return (Rec(r)->*orvx::RecordFlags()[i].get)();
}

int orvx_record_flag_by_name(const orvx_record* r, const char* name) {
  if (!r || !name) return -1;
  for (const orvx::FlagDesc& f : orvx::RecordFlags())
    if (f.name == name) return (Rec(r)->*f.get)();
  return -1;
}

int orvx_record_info(const orvx_record* r, uint32_t key, int32_t* value) {
  if (!value) return ORVX_E_ARGUMENT;
  *value = -1;
  if (!r) return ORVX_E_ARGUMENT;
  *value = Rec(r)->GetInfo(key);
  return orvx::FieldForKey(key) ? ORVX_OK : ORVX_E_NOT_FOUND;
}

size_t orvx_field_count(void) { return orvx::RecordFields().size(); }

const char* orvx_field_name(size_t i) {
  return i < orvx::RecordFields().size() ? orvx::RecordFields()[i].name.data() : nullptr;
}

int orvx_field_width(size_t i) {
  return i < orvx::RecordFields().size() ? orvx::FieldWidth(orvx::RecordFields()[i].type) : 0;
}


int orvx_record_field(const orvx_record* r, size_t i, int64_t* value) {
  return FieldValue(r, i < orvx::RecordFields().size() ? &orvx::RecordFields()[i] : nullptr, value);
}

int orvx_record_field_by_name(const orvx_record* r, const char* name, int64_t* value) {
  if (!name) return FieldValue(nullptr, nullptr, value);
  return FieldValue(r, orvx::FindField(name), value);
}

size_t orvx_record_size_list(const orvx_record* r, int tray, unsigned char* out, size_t capacity) {
  return SizeList(r, out, capacity, [&](const CPrnStaticInfo& rec, BYTE* b) { return rec.GetInTraySPSZSizeList(tray, b); });
}

size_t orvx_record_size_list_named(const orvx_record* r, const char* name, unsigned char* out, size_t capacity) {
  if (!name) return 0;
  return SizeList(r, out, capacity, [&](const CPrnStaticInfo& rec, BYTE* b) { return rec.GetInTraySPSZSizeList(name, b); });
}

size_t orvx_record_size_list_block(const orvx_record* r, unsigned char* out, size_t capacity) {
  return SizeList(r, out, capacity, [](const CPrnStaticInfo& rec, BYTE* b) { return rec.GetInTraySPSZSizeList(b); });
}

int orvx_record_find_size_list(const orvx_record* r, int tray, unsigned char* out, size_t capacity, size_t* length) {
  return FindSizeList(r, tray, tray >= 0 && tray <= 255, out, capacity, length);
}

int orvx_record_find_size_list_named(const orvx_record* r, const char* name, unsigned char* out, size_t capacity,
                                     size_t* length) {
  return FindSizeList(r, name, name != nullptr, out, capacity, length);
}

size_t orvx_record_size_list_count(const orvx_record* r) {
  std::size_t count = 0;
  if (r) WalkSizeLists(r, [&](const orvx::SizeListEntry&) { return ++count, true; });
  return count;
}

int orvx_record_size_list_at(const orvx_record* r, size_t i, orvx_size_list* list) {
  if (!list) return ORVX_E_ARGUMENT;
  list->tray = -1;
  list->name[0] = '\0';
  list->size_count = 0;
  if (!r) return ORVX_E_ARGUMENT;
  bool found = false;
  WalkSizeLists(r, [&](const orvx::SizeListEntry& e) {
    if (i != 0) return --i, true;
    const std::string_view name = e.Name();
    const auto sizes = e.Sizes();
    list->tray = e.Named() ? -1 : e.key;
    if (!name.empty()) std::memcpy(list->name, name.data(), name.size());  // both fit: a block holds at most 255 bytes
    list->name[name.size()] = '\0';
    list->size_count = sizes.size();
    if (!sizes.empty()) std::memcpy(list->sizes, sizes.data(), sizes.size());
    found = true;
    return false;  // stop here: with i at 0, each later entry would overwrite this one
  });
  return found ? ORVX_OK : ORVX_E_NOT_FOUND;
}

void orvx_tray_init(orvx_tray* tray, const char* name) {
  if (!tray) return;
  *tray = orvx_tray{};
  tray->name = name;
  tray->id = ORVX_TRAY_NEW_ID;
  tray->add_unit = ORVX_TRAY_NEW_ADD_UNIT;
  tray->delivery = ORVX_TRAY_NEW_DELIVERY;
}

unsigned orvx_manual_tray_string_id(void) { return orvx::kManualTrayString; }
unsigned orvx_default_tray_string_id(void) { return orvx::kDefaultTrayString; }
const char* orvx_picture_step_name(int kind) { return orvx::PictureStepName(kind); }

int orvx_picture(const orvx_record* r, const orvx_picture_call* call, uint32_t* picture_id, orvx_trace** trace,
                 orvx_error* err) {
  if (!call) {
    if (trace) *trace = nullptr;
    if (picture_id) *picture_id = 0;
    return Fail(err, ORVX_E_ARGUMENT, "no call");
  }
  return Picture(r, *call, picture_id, trace, err);
}

const char* orvx_trace_rule(const orvx_trace* t) { return t && !t->trace.rule.empty() ? t->trace.rule.c_str() : nullptr; }
size_t orvx_trace_count(const orvx_trace* t) { return t ? t->trace.steps.size() : 0; }

int orvx_trace_step_at(const orvx_trace* t, size_t i, orvx_trace_step* step) {
  if (!t || !step || i >= t->trace.steps.size()) return ORVX_E_ARGUMENT;
  const orvx::PictureTraceStep& s = t->trace.steps[i];
  *step = {static_cast<int>(s.kind), s.name.c_str(), s.inputName.c_str(), s.finalName.c_str(), s.row, s.test.c_str(),
           s.added, s.id};
  return ORVX_OK;
}

void orvx_trace_free(orvx_trace* t) { delete t; }

const char* orvx_rule_for(int vendor, int group, int extended, uint32_t* fixed_result) {
  const orvx::PictureRoute route = orvx::ChoosePictureRule(vendor, group, extended != 0);
  if (fixed_result) *fixed_result = route.rule ? 0 : route.fixedResult;
  return route.rule;
}

size_t orvx_rule_row_count(const char* rule) {
  if (!rule) return 0;
  try {
    const auto* rows = orvx::PictureRuleRows(rule);
    return rows ? rows->size() : 0;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

int orvx_rule_row_at(const char* rule, size_t i, orvx_rule_row* row) {
  if (!rule || !row) return ORVX_E_ARGUMENT;
  return Guard(nullptr, [&] {
    const auto* rows = orvx::PictureRuleRows(rule);
    if (!rows || i >= rows->size()) return static_cast<int>(ORVX_E_ARGUMENT);
    // The literals as C string arrays, made once for every row and as fixed as the tables.
    static const std::map<const orvx::PictureRuleRow*, std::vector<const char*>> literals = [] {
      std::map<const orvx::PictureRuleRow*, std::vector<const char*>> all;
      for (const auto& route : orvx::PictureRoutes())
        if (const auto* rs = orvx::PictureRuleRows(route.rule))
          for (const auto& one : *rs)
            for (const std::string& l : one.literals) all[&one].push_back(l.c_str());
      return all;
    }();
    static const std::vector<const char*> none;
    const orvx::PictureRuleRow& r = (*rows)[i];
    const auto found = literals.find(&r);
    const std::vector<const char*>* lits = found == literals.end() ? &none : &found->second;
    *row = {static_cast<int>(r.table), r.index, r.test.c_str(), lits->size(), lits->data(), r.bits, r.id,
            r.effect.c_str()};
    return static_cast<int>(ORVX_OK);
  });
}

int orvx_picture_id(const orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out, size_t out_count,
                    int duplex_unit, int output_unit, uint32_t* picture_id, orvx_error* err) {
  orvx_picture_call call{0, in, in_count, out, out_count, duplex_unit, output_unit, nullptr, 0, nullptr, 0, nullptr, nullptr};
  return Guard(err, [&] {
    const TableStrings strings;  // lives through the call: the call points into it
    strings.Into(call);
    return Picture(r, call, picture_id, nullptr, err);
  });
}

int orvx_picture_id_ex(const orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out, size_t out_count,
                       const char* const* options, size_t option_count, const char* const* doc_options,
                       size_t doc_option_count, uint32_t* picture_id, orvx_error* err) {
  orvx_picture_call call{true,        in,          in_count,         out,     out_count, 0, 0, options, option_count,
                         doc_options, doc_option_count, nullptr, nullptr};
  return Guard(err, [&] {
    const TableStrings strings;  // lives through the call: the call points into it
    strings.Into(call);
    return Picture(r, call, picture_id, nullptr, err);
  });
}

int orvx_picture_id_names(const orvx_record* r, const char* const* in_names, size_t in_count,
                          const char* const* out_names, size_t out_count, int duplex_unit, int output_unit,
                          uint32_t* picture_id, orvx_error* err) {
  if (!NamesValid(in_names, in_count) || !NamesValid(out_names, out_count))
    return Fail(err, ORVX_E_ARGUMENT, "a name list, or a name in it, is NULL");
  return Guard(err, [&] {
    std::vector<orvx_tray> in = NameTrays(in_names, in_count), out = NameTrays(out_names, out_count);
    return orvx_picture_id(r, in.data(), in_count, out.data(), out_count, duplex_unit, output_unit, picture_id, err);
  });
}

int orvx_picture_id_ex_names(const orvx_record* r, const char* const* in_names, size_t in_count,
                             const char* const* out_names, size_t out_count, const char* const* options,
                             size_t option_count, const char* const* doc_options, size_t doc_option_count,
                             uint32_t* picture_id, orvx_error* err) {
  if (!NamesValid(in_names, in_count) || !NamesValid(out_names, out_count))
    return Fail(err, ORVX_E_ARGUMENT, "a name list, or a name in it, is NULL");
  return Guard(err, [&] {
    std::vector<orvx_tray> in = NameTrays(in_names, in_count), out = NameTrays(out_names, out_count);
    return orvx_picture_id_ex(r, in.data(), in_count, out.data(), out_count, options, option_count, doc_options,
                              doc_option_count, picture_id, err);
  });
}

int orvx_host_set_string(unsigned id, const char* text) {
  return Guard(nullptr, [&] {
    if (text)
      orvx::host::SetStringResource(id, text);
    else
      orvx::host::RemoveStringResource(id);
    return ORVX_OK;
  });
}

void orvx_host_clear_strings(void) { orvx::host::ClearStringResources(); }

int orvx_host_set_app_name(const char* name) {
  if (!name || !orvx::registry::NameProblem(name, "").empty()) return ORVX_E_ARGUMENT;
  return Guard(nullptr, [&] {
    orvx::host::SetAppName(name);
    return ORVX_OK;
  });
}

int orvx_host_set_registry_key(const char* key) {
  if (!key || !orvx::registry::NameProblem(key, "").empty()) return ORVX_E_ARGUMENT;
  return Guard(nullptr, [&] {
    orvx::host::SetRegistryKey(key);
    return ORVX_OK;
  });
}

int orvx_host_set_registry_file(int hive, const char* path) {
#if defined(_WIN32)
  (void)hive;
  (void)path;
  return ORVX_E_UNSUPPORTED;
#else
  if (hive != ORVX_HIVE_LOCAL_MACHINE && hive != ORVX_HIVE_CURRENT_USER) return ORVX_E_ARGUMENT;
  return Guard(nullptr, [&] {
    orvx::host::SetRegistryFile(hive == ORVX_HIVE_LOCAL_MACHINE ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER,
                                path ? path : "");
    return ORVX_OK;
  });
#endif
}

int orvx_check_model(const char* registry_path, const char* model, unsigned interface_number, uint32_t* result,
                     orvx_error* err) {
  if (result) *result = ORVX_NOT_SUPPORTED;
  if (!model || !result) return Fail(err, ORVX_E_ARGUMENT, "no model name or no result to fill");
  return Guard(err, [&] {
    CSupportedModel lists(0);  // reads the registry at the question, once
    lists.SetRegistoryPath(registry_path);
    *result = static_cast<uint32_t>(lists.CheckModel(model, interface_number));
    return Ok(err);
  });
}

int orvx_comm_config_save(uint32_t port, const void* config, size_t size, orvx_error* err) {
  if (!config) return Fail(err, ORVX_E_ARGUMENT, "no configuration");
  if (size < sizeof(DWORD) || size > orvx::kCommConfigMax)
    return Fail(err, ORVX_E_ARGUMENT,
                "a configuration of " + std::to_string(size) + " bytes; it must be 4 to 256 to be loaded back");
  DWORD declared;
  std::memcpy(&declared, config, sizeof declared);
  if (declared != size)
    return Fail(err, ORVX_E_ARGUMENT,
                "the configuration says it is " + std::to_string(declared) + " bytes, not " + std::to_string(size));
  return Guard(err, [&] {
    const orvx::Status e = orvx::SaveCommConfig(port, {static_cast<const BYTE*>(config), size});
    return e.Failed() ? FromError(err, e) : Ok(err);
  });
}

int orvx_comm_config_load(uint32_t port, void* config, size_t capacity, size_t* size, orvx_error* err) {
  if (size) *size = 0;
  if (!size || (!config && capacity)) return Fail(err, ORVX_E_ARGUMENT, "no buffer or no size to fill");
  return Guard(err, [&] {
    BYTE buffer[orvx::kCommConfigMax];
    DWORD n = 0;
    const orvx::Status e = orvx::LoadCommConfig(port, buffer, n);
    if (e.code == orvx::Status::ValueTooLarge) *size = n;
    if (e.Failed()) return FromError(err, e);
    *size = n;
    if (n > capacity) return Fail(err, ORVX_E_ARGUMENT, "the buffer holds " + std::to_string(capacity) + " of " +
                                                            std::to_string(n) + " bytes");
    if (n) std::memcpy(config, buffer, n);  // an empty value may come with no buffer at all
    return Ok(err);
  });
}

}  // extern "C"

// ---- editing and writing ----------------------------------------------------------
// Every typed setter says its value as JSON text, so that one decoder checks
// them all and words each refusal as build does.

namespace {

template <typename Change>
int Edit(orvx_db* db, orvx_error* err, Change edit) {
  if (!db) return Fail(err, ORVX_E_ARGUMENT, "no database");
  return Guard(err, [&] {
    const orvx::Status e = edit(db->db);
    return e.Failed() ? FromError(err, e) : Ok(err);
  });
}

template <typename Bytes>
std::string ByteArray(const Bytes& bytes) {
  std::string text = "[";
  for (const auto b : bytes) text += (text.size() > 1 ? "," : "") + std::to_string(static_cast<unsigned char>(b));
  return text + "]";
}

// `text` into `out` when there is room (for a text, room for its NUL too).
int CopyOut(const std::string_view bytes, void* out, size_t capacity, size_t* size, bool terminated, orvx_error* err) {
  if (size) *size = bytes.size();
  if (!out) return Ok(err);
  if (capacity < bytes.size() + (terminated ? 1 : 0))
    return Fail(err, ORVX_E_ARGUMENT, std::to_string(bytes.size()) + " bytes do not fit in " + std::to_string(capacity));
  std::memcpy(out, bytes.data(), bytes.size());
  if (terminated) static_cast<char*>(out)[bytes.size()] = '\0';
  return Ok(err);
}

}  // namespace

int orvx_db_set(orvx_db* db, size_t index, const char* key, const char* json_value, orvx_error* err) {
  if (!key || !json_value) return Fail(err, ORVX_E_ARGUMENT, "no key or value");
  return Edit(db, err, [&](orvx::ModelDatabase& d) { return d.Set(index, key, json_value); });
}

int orvx_db_set_field(orvx_db* db, size_t index, size_t field, int64_t value, orvx_error* err) {
  if (field >= orvx::RecordFields().size())
    return Fail(err, ORVX_E_NOT_FOUND, "no field " + std::to_string(field) + " (a record has " +
                                           std::to_string(orvx::RecordFields().size()) + ")");
  return Edit(db, err, [&](orvx::ModelDatabase& d) {
    return d.Set(index, orvx::RecordFields()[field].name, std::to_string(value));
  });
}

int orvx_db_set_field_by_name(orvx_db* db, size_t index, const char* name, int64_t value, orvx_error* err) {
  if (!name) return Fail(err, ORVX_E_ARGUMENT, "no field name");
  if (!orvx::FindField(name)) return Fail(err, ORVX_E_NOT_FOUND, std::string("no field named \"") + name + "\"");
  return Edit(db, err, [&](orvx::ModelDatabase& d) { return d.Set(index, name, std::to_string(value)); });
}

int orvx_db_set_flag(orvx_db* db, size_t index, const char* name, int on, orvx_error* err) {
  if (!name) return Fail(err, ORVX_E_ARGUMENT, "no flag name");
  return Edit(db, err, [&](orvx::ModelDatabase& d) { return d.SetFlag(index, name, on != 0); });
}

int orvx_db_set_name(orvx_db* db, size_t index, const char* name, size_t length, orvx_error* err) {
  if (!name && length) return Fail(err, ORVX_E_ARGUMENT, "no name");
  return Edit(db, err, [&](orvx::ModelDatabase& d) {
    return d.Set(index, "ModelNameBytes", ByteArray(std::string_view(name ? name : "", length)));
  });
}

int orvx_db_set_size_lists(orvx_db* db, size_t index, const orvx_size_list* lists, size_t count, orvx_error* err) {
  if (!lists && count) return Fail(err, ORVX_E_ARGUMENT, "no size lists");
  return Edit(db, err, [&](orvx::ModelDatabase& d) -> orvx::Status {
    if (!count) return d.Set(index, "InTraySPSZSizeList", "null");
    std::vector<orvx::TraySizes> trays(count);
    for (size_t i = 0; i < count; ++i) {
      const orvx_size_list& l = lists[i];
      // More codes than the buffer holds can never fit a block: the encoder refuses the buffer's worth.
      const size_t n = std::min(l.size_count, sizeof l.sizes);
      trays[i] = {l.tray < 0, l.tray < 0 ? orvx::kNamedSizeList : l.tray,
                  l.tray < 0 ? std::string(l.name, strnlen(l.name, sizeof l.name)) : "", {l.sizes, l.sizes + n}};
    }
    if (index >= d.size()) return d.Set(index, "InTraySPSZSizeList", "null");  // its refusal of the index
    orvx::Result<std::vector<BYTE>> block = orvx::EncodeSizeLists(trays);
    if (!block) {
      orvx::Status e = std::move(block).status();
      e.message = orvx::AtRecordKey(index, &d[index].GetModelName().str(), "InTraySPSZSizeList", e.message);
      return e;
    }
    return d.Set(index, "InTraySPSZSizeList", ByteArray(block.value()));
  });
}

int orvx_db_insert(orvx_db* db, size_t at, const orvx_record* from, orvx_error* err) {
  return Edit(db, err, [&](orvx::ModelDatabase& d) { return d.Insert(at, from ? Rec(from) : nullptr); });
}

int orvx_db_remove(orvx_db* db, size_t index, orvx_error* err) {
  return Edit(db, err, [&](orvx::ModelDatabase& d) { return d.Remove(index); });
}

int orvx_db_move(orvx_db* db, size_t from, size_t to, orvx_error* err) {
  return Edit(db, err, [&](orvx::ModelDatabase& d) { return d.Move(from, to); });
}

int orvx_db_write(const orvx_db* db, void* out, size_t capacity, size_t* size, orvx_error* err) {
  if (size) *size = 0;
  if (!db) return Fail(err, ORVX_E_ARGUMENT, "no database");
  return Guard(err, [&] {
    const std::vector<std::uint8_t> bytes = db->db.Bytes();
    return CopyOut({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, out, capacity, size, false, err);
  });
}

int orvx_db_save(const orvx_db* db, const char* path, int form, orvx_error* err) {
  if (!db || !path) return Fail(err, ORVX_E_ARGUMENT, "no database or path");
  if (form != ORVX_FORM_DAT && form != ORVX_FORM_JSON) return Fail(err, ORVX_E_ARGUMENT, "no such form");
  return Guard(err, [&] {
    const orvx::Status e = form == ORVX_FORM_DAT ? db->db.Save(path) : orvx::ReplaceWholeFile(path, orvx::DatabaseJson(db->db));
    return e.Failed() ? FromError(err, e) : Ok(err);
  });
}

int orvx_db_json(const orvx_db* db, char* out, size_t capacity, size_t* size, orvx_error* err) {
  if (size) *size = 0;
  if (!db) return Fail(err, ORVX_E_ARGUMENT, "no database");
  return Guard(err, [&] { return CopyOut(orvx::DatabaseJson(db->db), out, capacity, size, true, err); });
}

int orvx_record_json(const orvx_record* r, char* out, size_t capacity, size_t* size, orvx_error* err) {
  if (size) *size = 0;
  if (!r) return Fail(err, ORVX_E_ARGUMENT, "no record");
  return Guard(err, [&] { return CopyOut(orvx::RecordJson(*Rec(r)), out, capacity, size, true, err); });
}
