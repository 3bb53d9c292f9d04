// The functions the page's wrapper (web/orvx.js) calls in the WebAssembly
// module. Each answer is a JSON text in a new buffer that the caller frees
// with orvx_web_free; a failure is answered as {"error": "..."}.
#pragma once

#include <cstddef>
#include <string>

#include "db_json.h"

struct orvx_db;

namespace orvx_web {

// An answer for JS: the JSON text in a malloc'd buffer (null only when memory runs out).
char* Answer(const orvdb::Json& j);
char* ErrorAnswer(const std::string& message);

}  // namespace orvx_web

extern "C" {
struct orvx_web_db;
// The open database's C handle (for the picture calls).
orvx_db* orvx_web_c_handle(orvx_web_db* w);
void orvx_web_free(char* answer);
}
