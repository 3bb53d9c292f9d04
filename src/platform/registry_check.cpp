// Checks a registry store file (export format) without loading it as a hive.
#include "orvx/registry_check.h"

#include "orvx/afx_registry.h"
#include "orvx/whole_file.h"
#include "reg_document.h"

namespace orvx::registry {

Error CheckFile(const std::string& path) {
  std::string bytes;
  if (Error error = ReadWholeFile(path, bytes); error.Failed()) return error;
  Document doc;
  return Parse(bytes, doc);
}

}  // namespace orvx::registry
