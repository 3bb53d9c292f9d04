// Which rule the picture-ID entry points choose, for tools and diagnostics.
#pragma once

#include "orvx/afx_types.h"
#include "orvx/export.h"

namespace orvx {

struct PictureRoute {
  const char* rule;   // e.g. "GetOptionFlagEx_Nightjar"; null when no rule runs
  DWORD fixedResult;  // the result when no rule runs (0, or 0x800 for some copier groups)
};

// The rule of GetPictureID (extended = false) or GetPictureIDEx (true) for a
// record with this vendor ID and model group ID.
ORVX_API PictureRoute ChoosePictureRule(int vendor, int group, bool extended);

}  // namespace orvx
