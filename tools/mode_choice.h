// --mode against the CTA-861 table the library matches it with.
#pragma once

#include <string>

#include "utility.h"

namespace edc_tool {

// Finds the table row that mode names and sets mode's rate to the one the
// library matches that row by. A rate is taken as people write it: the
// row's rate rounded or cut to whole hertz, with or without the 1000/1001
// step (60 and 59 both name a 59.94 Hz row, 24 a 23.98 Hz one). When the
// rate was so interpreted, chosen says which row it names ("--mode
// 640x480p60: VIC 1, 640x480p at 59.95 Hz"); it stays empty for the rate
// the library matches itself. Without a row, problem names the nearest.
bool ChooseModeRow(hdmi_mode_t &mode, std::string &chosen, std::string &problem);

}  // namespace edc_tool
