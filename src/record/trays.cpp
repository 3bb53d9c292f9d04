#include "orvx/prn_static_info.h"

ORVX_IMPLEMENT_DYNCREATE(COptInTray, CObject, 0xFFFF)
ORVX_IMPLEMENT_DYNCREATE(COptOutTray, CObject, 0xFFFF)

COptInTray::~COptInTray() = default;
COptOutTray::~COptOutTray() = default;

// Only these fields travel in the archive; the others keep their values on load.
void COptInTray::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << Name << Description << ID << AddUnit;
  } else {
    ar >> Name >> Description >> ID >> AddUnit;
  }
}

void COptOutTray::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << Name << ID << AddUnit;
  } else {
    ar >> Name >> ID >> AddUnit;
  }
}
