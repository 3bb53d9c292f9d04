// host.cpp: reads ORVDB.dat from the current directory and describes one model.
#include <cstdio>

#include "orvx/model_db.h"

int main(int argc, char** argv) {
  const char* model = argc > 1 ? argv[1] : "Vantor LP-1200";
  static int module;  // on POSIX any non-null handle stands for the host's module
  if (!ORVX_LibraryEntry(&module, ORVX_PROCESS_ATTACH, nullptr))
    return 1;  // ORVDB.dat is missing or damaged; the library has said why
  const CPrnStaticInfo* r = GetPointerToCPrnStaticInfo(model);
  if (r) {
    BYTE sizes[256];
    const int n = r->GetInTraySPSZSizeList("Cassette 1", sizes);
    std::printf("%s: vendor %d, group %d, color %d, info 0x0D08 = %d, %d sizes for Cassette 1\n",
                r->GetModelName().c_str(), r->GetVenderID(), r->GetModelGroupID(), r->IsColorPrinter(),
                r->GetInfo(0x0D08), n);
  }
  ORVX_LibraryEntry(&module, ORVX_PROCESS_DETACH, nullptr);
  return r ? 0 : 1;  // null: the database has no records
}
