// The configuration root under which every key of the library lives.
#pragma once

namespace edc {
inline constexpr char kConfigRoot[] = "platform.software.drivers.avcap.edid.";
}
