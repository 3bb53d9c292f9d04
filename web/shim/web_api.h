// The functions the page's wrapper (web/orvx.js) calls in the WebAssembly
// module. Each answer is a JSON text in a new buffer that the caller frees
// with orvx_web_free; a failure is answered as {"error": "..."}.
#pragma once

#include <cstddef>
#include <string>

#include "db_json.h"

struct orvx_db;
struct orvx_web_db;
class CPrnStaticInfo;

namespace orvx_web {

// An answer for JS: the JSON text in a malloc'd buffer (null only when memory runs out).
char* Answer(const orvdb::Json& j);
char* ErrorAnswer(const std::string& message);
// Record `index` of the open database, or null.
const CPrnStaticInfo* Record(orvx_web_db* w, std::size_t index);

}  // namespace orvx_web

extern "C" {
void orvx_web_free(char* answer);
}
