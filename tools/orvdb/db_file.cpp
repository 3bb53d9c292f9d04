#include "db_file.h"

#include <cstdio>
#include <filesystem>

#include "orvx/model_db.h"

namespace orvdb {

bool LoadDatabase(const std::string& path, std::string& error) {
  CPrnStaticInfoArray_RemoveAll();
  CFile file;
  CFileException openError(CFileException::none, 0, path);
  if (!file.Open(path.c_str(), CFile::modeRead | CFile::typeBinary, &openError)) {
    error = path + ": cannot open (" + std::string(openError.what()) + ")";
    return false;
  }
  try {
    CArchive ar(&file, CArchive::load);
    CPrnStaticInfoArray_Serialize(ar);
    ar.Close();
  } catch (const CArchiveException& e) {
    CPrnStaticInfoArray_RemoveAll();
    error = path + ": not a complete model database (" +
            std::string(e.m_cause == CArchiveException::endOfFile ? "data ends early" : "malformed data") +
            " at byte " + std::to_string(e.m_offset) + ")";
    return false;
  } catch (const CException& e) {
    CPrnStaticInfoArray_RemoveAll();
    error = path + ": " + e.what();
    return false;
  }
  return true;
}

bool StoreDatabase(const std::string& path, const std::vector<std::unique_ptr<CPrnStaticInfo>>& records,
                   std::string& error) {
  const std::string temp = path + ".tmp";
  try {
    {
      CFile file;
      CFileException openError(CFileException::none, 0, temp);
      if (!file.Open(temp.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeBinary, &openError)) {
        error = path + ": cannot write (" + std::string(openError.what()) + ")";
        return false;
      }
      CArchive ar(&file, CArchive::store);
      // The layout CPrnStaticInfoArray_Serialize writes: the count, then each record.
      ar << static_cast<DWORD>(records.size());
      for (const auto& r : records) r->Serialize(ar);
      ar.Close();
      file.Flush();
    }
    std::filesystem::rename(temp, path);
  } catch (const std::exception& e) {
    std::remove(temp.c_str());
    error = path + ": cannot write (" + e.what() + ")";
    return false;
  }
  return true;
}

std::vector<CPrnStaticInfo*> LoadedRecords() {
  std::vector<CPrnStaticInfo*> out;
  for (void* p : CPrnStaticInfoArray) out.push_back(static_cast<CPrnStaticInfo*>(p));
  return out;
}

}  // namespace orvdb
