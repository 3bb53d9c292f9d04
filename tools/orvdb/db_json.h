// The JSON form of a model database: {"models": [ {...}, ... ]}.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "orvx/database.h"
#include "orvx/prn_static_info.h"

namespace orvdb {

using Json = nlohmann::ordered_json;

// A JSON model that cannot become a record; the message names the model and key.
struct ImportError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// One record as a JSON object: every field by its record name, in database
// order, with "FlagNames" (the names of the flags set) after "Flags", then
// InTraySPSZSizeList (bytes including the length byte, or null). A model name
// that is not valid UTF-8 is written as "ModelNameBytes".
Json RecordToJson(const CPrnStaticInfo& record);
// A record from one JSON model; `index` is its position, for messages. The
// flags come from "Flags", from "FlagNames", or from both when they agree.
std::unique_ptr<CPrnStaticInfo> RecordFromJson(const Json& model, std::size_t index);

// Every record of a database document, in order. Throws ImportError.
orvx::ModelDatabase ModelsFromJson(const Json& document);


}  // namespace orvdb
