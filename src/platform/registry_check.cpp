// Checks a registry store file (export format) without loading it as a hive.
#include <fstream>
#include <iterator>

#include "orvx/afx_registry.h"
#include "reg_document.h"

namespace orvx::registry {

bool CheckFile(const std::string& path, std::string& error, int& line) {
  line = 0;
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = "cannot open the file";
    return false;
  }
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    error = "cannot read the file";
    return false;
  }
  ParseError e;
  if (Parse(bytes, e)) return true;
  error = e.message;
  line = e.line;
  return false;
}

}  // namespace orvx::registry
