// The system's own message box and string resources, one implementation per
// platform.
#pragma once

#include <string>
#include <string_view>

#include "orvx/afx_types.h"

namespace orvx::os {

// Shows `text` titled `caption` and returns the button pressed.
int ShowMessageBox(std::string_view text, UINT type, const std::string& caption);
// The string `id` of the host program's own resources, if it has one.
bool LoadModuleString(UINT id, std::string& text);

}  // namespace orvx::os
