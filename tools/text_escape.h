// Text taken from an EDID made safe for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace edc_tool {

// text with every control character but tab and newline (C0, DEL and the C1
// range 0x80 to 0x9F, which some terminals obey) written as \xNN: a monitor
// name holding ESC sequences prints as letters, not as terminal commands.
std::string EscapeControls(std::string_view text);

}  // namespace edc_tool
