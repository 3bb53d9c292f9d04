#include "db_file.h"

#include <cstdio>
#include <iostream>
#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include "orvx/whole_file.h"

namespace orvdb {

std::string DatabaseBytes(const orvx::ModelDatabase& db) {
  CMemFile file;
  CArchive ar(&file, CArchive::store);
  db.Store(ar);
  ar.Close();
  return std::string(file.Bytes().begin(), file.Bytes().end());
}

void BinaryStream(std::FILE* stream) {
#if defined(_WIN32)
  _setmode(_fileno(stream), _O_BINARY);
#else
  (void)stream;
#endif
}

orvx::Status WriteOutput(const std::string& path, std::string_view bytes) {
  if (path == "-") {
    std::cout.flush();
    BinaryStream(stdout);
    std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return {};  // a failed write shows when the tool flushes at its end
  }
  return orvx::ReplaceWholeFile(path, bytes);
}

}  // namespace orvdb
