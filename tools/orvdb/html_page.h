// One self-contained HTML file of the model workbench: the page, the
// WebAssembly module and a database, inlined, for opening from file://.
#pragma once

#include <string>
#include <vector>

#include "orvx/status.h"

namespace orvdb {

// Where `orvdb html` looks for the page's files when not told (--web):
// the installed share/orvx/web, then the wasm preset's build folder.
std::vector<std::string> DefaultWebDirs();

// The page for database `dbPath` (its file layout or JSON form), from the
// web assets in `webDir`, into `html`. The page opens read-only unless
// `edit`: a shared catalogue is not changed by a stray keystroke. Fails when
// an asset is missing or the database cannot be read.
orvx::Status MakeHtmlPage(const std::string& webDir, const std::string& dbPath, std::string& html, bool edit = false);

}  // namespace orvdb
