// Checks a registry store file (export format) without loading it as a hive.
#include "orvx/afx_registry.h"
#include "orvx/whole_file.h"
#include "reg_document.h"

namespace orvx::registry {

bool CheckFile(const std::string& path, std::string& error, int& line) {
  line = 0;
  std::string bytes;
  if (!ReadWholeFile(path, bytes, error)) return false;
  ParseError e;
  if (Parse(bytes, e)) return true;
  error = e.message;
  line = e.line;
  return false;
}

}  // namespace orvx::registry
