// The JSON form of a model database: {"models": [ {...}, ... ]}.
#pragma once

#include <memory>
#include <span>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "orvx/database.h"
#include "orvx/status.h"
#include "orvx/prn_static_info.h"
#include "orvx/size_list.h"

namespace orvdb {

using Json = nlohmann::ordered_json;

// One record as a JSON object: the library's JSON form (orvx/record_json.h).
Json RecordToJson(const CPrnStaticInfo& record);
// A record from one JSON model; `index` is its position, for messages. Each
// value is stored as orvx::SetRecordValue stores it; the flags come from
// "Flags", from "FlagNames", or from both when they agree. A model that cannot
// become a record fails with Format, the message naming the model and the key.
orvx::Result<std::unique_ptr<CPrnStaticInfo>> RecordFromJson(const Json& model, std::size_t index);

// Every record of a database document, in order.
orvx::Result<orvx::ModelDatabase> ModelsFromJson(const Json& document);
// The same from the document's text, reading one model at a time (the tool's
// way: it never holds the whole tree). Text that is not JSON fails too, and
// "models" given twice.
orvx::Result<orvx::ModelDatabase> ModelsFromJsonText(std::string_view text);

using orvx::TraySizes;
// "tray 2" or "tray \"Cassette 1\"".
std::string TrayLabel(const TraySizes& t);

// A database from the JSON text `text` of `source`; a failure names `source`.
orvx::Status ModelsFromText(const std::string& source, std::string_view text, orvx::ModelDatabase& db);
// A database from its JSON source file.
orvx::Status ReadModels(const std::string& source, orvx::ModelDatabase& db);
// A database file or its JSON form, told apart by orvx::GuessForm (a byte-order
// mark before the JSON is skipped). A database file is read through the loader, never held whole, and
// `framing` (when given) receives how far its read got.
orvx::Status LoadEitherForm(const std::string& path, orvx::ModelDatabase& db, orvx::Framing* framing = nullptr);


}  // namespace orvdb
