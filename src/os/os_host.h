// The system's own message box and string resources, one implementation per
// platform.
#pragma once

#include <string>
#include <string_view>

namespace orvx::os {

// Shows `text` titled `caption` with the buttons and icon `type` (a message
// box style of Windows) and returns the button pressed (1: OK).
int ShowMessageBox(std::string_view text, unsigned type, const std::string& caption);
// The string `id` of the host program's own resources, if it has one.
bool LoadModuleString(unsigned id, std::string& text);

}  // namespace orvx::os
