#include <cstdio>

#include "orvx/model_db.h"

// Attaches in the current directory and looks one model up.
int main(int argc, char** argv) {
  int module = 0;
  if (!ORVX_LibraryEntry(&module, ORVX_PROCESS_ATTACH, nullptr)) return 1;
  const CPrnStaticInfo* r = GetPointerToCPrnStaticInfo(argc > 1 ? argv[1] : "");
  std::printf("%s\n", r ? r->GetModelName().c_str() : "(none)");
  ORVX_LibraryEntry(&module, ORVX_PROCESS_DETACH, nullptr);
  return r ? 0 : 1;
}
