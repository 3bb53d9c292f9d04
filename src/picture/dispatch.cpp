// Picture-ID entry points. The rule tables are not wired in yet: every
// model group answers 0 ("no picture chosen").
#include "orvx/prn_static_info.h"

DWORD CPrnStaticInfo::GetPictureID(CStringList&, CStringList&, int, int) { return 0; }
DWORD CPrnStaticInfo::GetPictureID(CPtrArray&, CPtrArray&, int, int) { return 0; }
DWORD CPrnStaticInfo::GetPictureIDEx(CStringList&, CStringList&, CStringList&, CStringList&) { return 0; }
DWORD CPrnStaticInfo::GetPictureIDEx(CPtrArray&, CPtrArray&, CStringList&, CStringList&) { return 0; }
