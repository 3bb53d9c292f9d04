// The C interface: argument checks, handle conversions and error reports
// around the C++ classes. No rule of the system lives here.
#include "orvx/orvx.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "orvx/afx_host.h"
#include "orvx/afx_registry.h"
#include "orvx/comm_config.h"
#include "orvx/database.h"
#include "orvx/record_fields.h"
#include "orvx/supported_model.h"

struct orvx_db {
  orvx::ModelDatabase db;
};

namespace {

CPrnStaticInfo* Rec(orvx_record* r) { return reinterpret_cast<CPrnStaticInfo*>(r); }
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

// Runs `body`, turning an escaping allocation failure into ORVX_E_MEMORY:
// nothing thrown may cross into C.
template <typename Body>
int Guard(orvx_error* err, Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return Fail(err, ORVX_E_MEMORY, "not enough memory");
  } catch (const std::exception& e) {
    return Fail(err, ORVX_E_IO, e.what());
  }
}

int FromLoadError(orvx_error* err, const orvx::LoadError& e) {
  switch (e.kind) {
    case orvx::LoadError::Format: return Fail(err, ORVX_E_FORMAT, e.message, e.offset);
    case orvx::LoadError::Memory: return Fail(err, ORVX_E_MEMORY, e.message);
    default: return Fail(err, ORVX_E_IO, e.message);
  }
}

template <typename Load>
int Open(orvx_db** db, orvx_error* err, Load load) {
  if (!db) return Fail(err, ORVX_E_ARGUMENT, "no handle to fill");
  *db = nullptr;
  return Guard(err, [&] {
    auto handle = std::make_unique<orvx_db>();
    orvx::LoadError e;
    if (!load(handle->db, e)) return FromLoadError(err, e);
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

void FillList(CStringList& list, const char* const* names, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) list.AddTail(names[i]);
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

// Builds tray records from the caller's trays, runs `call` on them and
// writes each tray's final name and ID back.
template <typename Call>
int WithTrays(orvx_tray* in, std::size_t inCount, orvx_tray* out, std::size_t outCount, Call call) {
  std::vector<std::unique_ptr<COptInTray>> ins;
  std::vector<std::unique_ptr<COptOutTray>> outs;
  CPtrArray inArray, outArray;
  for (std::size_t i = 0; i < inCount; ++i) {
    auto& t = ins.emplace_back(std::make_unique<COptInTray>());
    t->SetName(in[i].name);
    t->SetID(in[i].id);
    t->SetAddUnit(in[i].add_unit);
    inArray.Add(t.get());
  }
  for (std::size_t i = 0; i < outCount; ++i) {
    auto& t = outs.emplace_back(std::make_unique<COptOutTray>());
    t->SetName(out[i].name);
    t->SetID(out[i].id);
    t->SetAddUnit(out[i].add_unit);
    t->SetDerivery(out[i].delivery);
    outArray.Add(t.get());
  }
  call(inArray, outArray);
  for (std::size_t i = 0; i < inCount; ++i) WriteBack(in[i], ins[i]->GetName(), ins[i]->GetID());
  for (std::size_t i = 0; i < outCount; ++i) WriteBack(out[i], outs[i]->GetName(), outs[i]->GetID());
  return ORVX_OK;
}

int CheckPicture(orvx_record* r, uint32_t* pictureId, orvx_error* err) {
  if (!r || !pictureId) return Fail(err, ORVX_E_ARGUMENT, "no record or no result to fill");
  return ORVX_OK;
}

}  // namespace

extern "C" {

const char* orvx_version(void) { return ORVX_VERSION_STRING; }
uint32_t orvx_version_number(void) { return orvx::kVersionNumber; }

int orvx_db_open_file(const char* path, orvx_db** db, orvx_error* err) {
  if (!path) return Fail(err, ORVX_E_ARGUMENT, "no path");
  return Open(db, err, [&](orvx::ModelDatabase& d, orvx::LoadError& e) { return d.LoadFile(path, e); });
}

int orvx_db_open_memory(const void* data, size_t size, orvx_db** db, orvx_error* err) {
  if (!data && size) return Fail(err, ORVX_E_ARGUMENT, "no data");
  return Open(db, err, [&](orvx::ModelDatabase& d, orvx::LoadError& e) {
    return d.LoadBytes({static_cast<const std::uint8_t*>(data), size}, e);
  });
}

void orvx_db_close(orvx_db* db) { delete db; }

size_t orvx_db_count(const orvx_db* db) { return db ? db->db.size() : 0; }

orvx_record* orvx_db_record(orvx_db* db, size_t index) {
  if (!db || index >= db->db.size()) return nullptr;
  return Handle(db->db[index]);
}

orvx_record* orvx_db_lookup(orvx_db* db, const char* name, int* how, size_t* index) {
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

int orvx_record_info(const orvx_record* r, uint32_t key, int32_t* value) {
  if (!r || !value) return ORVX_E_ARGUMENT;
  *value = Rec(r)->GetInfo(key);
  return orvx::FieldForKey(key) ? ORVX_OK : ORVX_E_NOT_FOUND;
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

int orvx_picture_id(orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out, size_t out_count, int duplex_unit,
                    int output_unit, uint32_t* picture_id, orvx_error* err) {
  if (const int s = CheckPicture(r, picture_id, err)) return s;
  if (!TraysValid(in, in_count) || !TraysValid(out, out_count)) return Fail(err, ORVX_E_ARGUMENT, "a tray list, or a name in it, is NULL");
  return Guard(err, [&] {
    WithTrays(in, in_count, out, out_count, [&](CPtrArray& i, CPtrArray& o) {
      *picture_id = Rec(r)->GetPictureID(i, o, duplex_unit, output_unit);
    });
    return Ok(err);
  });
}

int orvx_picture_id_ex(orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out, size_t out_count,
                       const char* const* options, size_t option_count, const char* const* doc_options,
                       size_t doc_option_count, uint32_t* picture_id, orvx_error* err) {
  if (const int s = CheckPicture(r, picture_id, err)) return s;
  if (!TraysValid(in, in_count) || !TraysValid(out, out_count) || !NamesValid(options, option_count) ||
      !NamesValid(doc_options, doc_option_count))
    return Fail(err, ORVX_E_ARGUMENT, "a tray or name list, or a name in it, is NULL");
  return Guard(err, [&] {
    CStringList opts, docs;
    FillList(opts, options, option_count);
    FillList(docs, doc_options, doc_option_count);
    WithTrays(in, in_count, out, out_count, [&](CPtrArray& i, CPtrArray& o) {
      *picture_id = Rec(r)->GetPictureIDEx(i, o, opts, docs);
    });
    return Ok(err);
  });
}

int orvx_picture_id_names(orvx_record* r, const char* const* in_names, size_t in_count, const char* const* out_names,
                          size_t out_count, int duplex_unit, int output_unit, uint32_t* picture_id, orvx_error* err) {
  if (const int s = CheckPicture(r, picture_id, err)) return s;
  if (!NamesValid(in_names, in_count) || !NamesValid(out_names, out_count))
    return Fail(err, ORVX_E_ARGUMENT, "a name list, or a name in it, is NULL");
  return Guard(err, [&] {
    CStringList in, out;
    FillList(in, in_names, in_count);
    FillList(out, out_names, out_count);
    *picture_id = Rec(r)->GetPictureID(in, out, duplex_unit, output_unit);
    return Ok(err);
  });
}

int orvx_picture_id_ex_names(orvx_record* r, const char* const* in_names, size_t in_count,
                             const char* const* out_names, size_t out_count, const char* const* options,
                             size_t option_count, const char* const* doc_options, size_t doc_option_count,
                             uint32_t* picture_id, orvx_error* err) {
  if (const int s = CheckPicture(r, picture_id, err)) return s;
  if (!NamesValid(in_names, in_count) || !NamesValid(out_names, out_count) || !NamesValid(options, option_count) ||
      !NamesValid(doc_options, doc_option_count))
    return Fail(err, ORVX_E_ARGUMENT, "a name list, or a name in it, is NULL");
  return Guard(err, [&] {
    CStringList in, out, opts, docs;
    FillList(in, in_names, in_count);
    FillList(out, out_names, out_count);
    FillList(opts, options, option_count);
    FillList(docs, doc_options, doc_option_count);
    *picture_id = Rec(r)->GetPictureIDEx(in, out, opts, docs);
    return Ok(err);
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
    const LONG r = orvx::SaveCommConfig(port, {static_cast<const BYTE*>(config), size});
    if (r == ERROR_INVALID_NAME)
      return Fail(err, ORVX_E_ARGUMENT, "the host's names hold a character a registry store file cannot hold");
    if (r != ERROR_SUCCESS) return Fail(err, ORVX_E_REGISTRY, "cannot write the registry (error " + std::to_string(r) + ")");
    return Ok(err);
  });
}

int orvx_comm_config_load(uint32_t port, void* config, size_t capacity, size_t* size, orvx_error* err) {
  if (!size || (!config && capacity)) return Fail(err, ORVX_E_ARGUMENT, "no buffer or no size to fill");
  *size = 0;
  return Guard(err, [&] {
    BYTE buffer[orvx::kCommConfigMax];
    DWORD n = 0;
    const LONG r = orvx::LoadCommConfig(port, buffer, n);
    if (r == ERROR_FILE_NOT_FOUND) return Fail(err, ORVX_E_NOT_FOUND, "no configuration stored for this port");
    if (r != ERROR_SUCCESS) return Fail(err, ORVX_E_REGISTRY, "cannot read the registry (error " + std::to_string(r) + ")");
    *size = n;
    if (n > capacity) return Fail(err, ORVX_E_ARGUMENT, "the buffer holds " + std::to_string(capacity) + " of " +
                                                            std::to_string(n) + " bytes");
    if (n) std::memcpy(config, buffer, n);  // an empty value may come with no buffer at all
    return Ok(err);
  });
}

}  // extern "C"
