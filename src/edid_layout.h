// Layout of the EDID byte formats that the library reads and writes: the
// offsets, counts, codes and units of the VESA E-EDID 1.3 base block, the
// CTA-861 extension (revision 3) and the HDMI 1.4b vendor-specific data
// block. Each fact is named once, here; the decoder, the encoder, the dump,
// the utility module and the composer take it from here. Bit positions
// inside a byte stay beside the code that reads them (see bits.h).
//
// The names live in edc::layout, an inline namespace: edc::kBlockSize works
// anywhere, and a source file that reads the formats field by field says
// `using namespace edc::layout;` once instead of qualifying every offset.
#pragma once

#include <cstddef>
#include <cstdint>

namespace edc {
inline namespace layout {

// ---------------------------------------------------------------------------
// VESA E-EDID 1.3 base block (section 3), offsets from its first byte.

// The base block and every extension block are 128 bytes; the last byte of
// each is its checksum (section 3.11).
constexpr size_t kBlockSize = 128;
constexpr size_t kChecksum = 0x7F;

// bytes 0x00-0x07, header 00 FF FF FF FF FF FF 00, read little-endian (section 3.3)
constexpr uint64_t kHeader = 0x00FFFFFFFFFFFF00ull;
constexpr size_t kHeaderSize = 8;

// Vendor and product identification (section 3.4): bytes 0x08-0x09, ID
// manufacturer name, big-endian, three 5-bit letter codes ('A' is 1); 0x0A-0x0B,
// ID product code; 0x0C-0x0F, ID serial number (both little-endian); 0x10,
// week of manufacture; 0x11, year of manufacture - 1990.
constexpr size_t kManufacturerId = 0x08;
constexpr size_t kProductCode = 0x0A;
constexpr size_t kSerialNumber = 0x0C;
constexpr size_t kWeek = 0x10;
constexpr size_t kYear = 0x11;
constexpr uint32_t kYearBase = 1990;
constexpr int kLetterBase = 0x40;  // 'A' - 1

// bytes 0x12-0x13, EDID version and revision (section 3.5)
constexpr size_t kVersion = 0x12;
constexpr size_t kRevision = 0x13;

// Basic display parameters and features (section 3.6): byte 0x14, video
// input definition (bit 7 digital); 0x15-0x16, maximum image size in cm;
// 0x17, gamma x 100 - 100; 0x18, feature support.
constexpr size_t kVideoInput = 0x14;
constexpr size_t kHorizontalSize = 0x15;
constexpr size_t kVerticalSize = 0x16;
constexpr size_t kGamma = 0x17;
constexpr size_t kFeatures = 0x18;

// bytes 0x19-0x22, chromaticity (section 3.7): two bytes of low bits, then
// the high 8 bits of red x, red y, green x, green y, blue x, blue y, white x,
// white y
constexpr size_t kChromaLowRedGreen = 0x19;
constexpr size_t kChromaLowBlueWhite = 0x1A;
constexpr size_t kChromaHigh = 0x1B;

// bytes 0x23-0x25, established timings I and II, manufacturer's timings (section 3.8)
constexpr size_t kEstablishedTimings1 = 0x23;
constexpr size_t kEstablishedTimings2 = 0x24;
constexpr size_t kManufacturerTimings = 0x25;

// bytes 0x26-0x35, eight 2-byte standard timings (section 3.9): first byte
// width / 8 - 31; second byte bits 7-6 aspect code, 5-0 refresh rate - 60.
// 01 01 marks an unused slot.
constexpr size_t kStandardTimings = 0x26;
constexpr size_t kStandardTimingSlots = 8;
constexpr uint8_t kUnusedStandardTiming = 0x01;
constexpr uint32_t kStandardTimingWidthBias = 31;
constexpr uint32_t kStandardTimingWidthUnit = 8;
constexpr uint32_t kStandardTimingRefreshBias = 60;

// The standard timing aspect codes (section 3.9), the library's aspect codes
// throughout, and each as height per width.
constexpr uint32_t kAspect1x1 = 0;
constexpr uint32_t kAspect4x3 = 1;
constexpr uint32_t kAspect5x4 = 2;
constexpr uint32_t kAspect16x9 = 3;
struct aspect_fraction {
  uint32_t numerator, denominator;
};
constexpr aspect_fraction kAspectHeightPerWidth[] = {{1, 1}, {3, 4}, {4, 5}, {9, 16}};

// bytes 0x36-0x7D, four 18-byte descriptors (section 3.10). A detailed
// timing (section 3.10.2) gives its pixel clock in units of 10 kHz in bytes
// 0-1; a clock of 0 marks a display descriptor (section 3.10.3), whose byte
// 3 is its tag.
constexpr size_t kDescriptors = 0x36;
constexpr size_t kDescriptorSlots = 4;
constexpr size_t kDescriptorSize = 18;
constexpr uint32_t kPixelClockUnitHz = 10000;
constexpr size_t kDescriptorTag = 3;
constexpr uint8_t kTagSerialNumber = 0xFF;
constexpr uint8_t kTagDataString = 0xFE;
constexpr uint8_t kTagRangeLimits = 0xFD;
constexpr uint8_t kTagProductName = 0xFC;
constexpr uint8_t kTagColorPoint = 0xFB;
constexpr uint8_t kTagStandardTimings = 0xFA;
constexpr uint8_t kTagDummy = 0x10;
constexpr uint8_t kTagNone = 0x00;
// Text descriptors carry 13 bytes from byte 5, ended by a line feed.
constexpr size_t kDescriptorText = 5;
constexpr size_t kDescriptorTextSize = 13;
// Range limits (section 3.10.3.3): bytes 5-8 vertical min/max (Hz),
// horizontal min/max (kHz), byte 9 maximum pixel clock in units of 10 MHz.
constexpr uint32_t kRangeClockUnitMhz = 10;

// byte 0x7E, extension block count; 0x7F, checksum (section 3.11)
constexpr size_t kExtensionCount = 0x7E;

// ---------------------------------------------------------------------------
// CTA-861 extension, revision 3 (section 7.5), offsets from its first byte.

// byte 0, tag 0x02; byte 1, revision 3; byte 2, d: offset of the first
// detailed timing; byte 3, support flags; bytes 4 to d - 1, data blocks
constexpr size_t kCeaTag = 0;
constexpr size_t kCeaRevision = 1;
constexpr uint8_t kCeaExtensionTag = 0x02;
constexpr uint8_t kCeaRevision3 = 0x03;
constexpr size_t kCeaDtdOffset = 2;
constexpr size_t kCeaSupport = 3;
constexpr size_t kCeaDataBlocks = 4;

// Data block header (section 7.5.1): bits 7-5 tag code, bits 4-0 payload
// length, at most 31.
enum data_block_tag : uint32_t {
  kTagReserved = 0,
  kTagAudio = 1,
  kTagVideo = 2,
  kTagVendorSpecific = 3,
  kTagSpeakerAllocation = 4,
  kTagVesaDtc = 5,
  kTagReserved6 = 6,
  kTagExtended = 7,
};
constexpr uint32_t kMaxBlockLength = 31;

// Short video descriptors (section 7.5.1): bit 7 native, bits 6-0 VIC. The
// library writes at most 32 of them (the length field then reads 0).
constexpr unsigned kSvdNativeBit = 7;
constexpr int32_t kMaxSvds = 32;

// Short audio descriptors (section 7.5.2): three bytes each, at most 10 in
// one block. Byte 1 bits 6-3 hold the audio format code; byte 3 depends on it.
constexpr uint32_t kSadSize = 3;
constexpr int32_t kMaxSads = 10;
constexpr uint32_t kAudioLpcm = 1;          // byte 3: bit depths
constexpr uint32_t kAudioFirstBitRate = 2;  // AC-3 ...
constexpr uint32_t kAudioLastBitRate = 8;   // ... ATRAC, byte 3: maximum bit rate / 8 kHz
constexpr uint32_t kAudioBitRateUnitKhz = 8;
constexpr uint32_t kAudioFirstValue = 9;  // DSD ...
constexpr uint32_t kAudioLastValue = 13;  // ... DST, byte 3: a format-dependent value
constexpr uint32_t kAudioWmaPro = 14;     // byte 3: profile
constexpr uint32_t kAudioExtension = 15;  // byte 3 bits 7-3: extension type code
// Extension type codes 1..3 (HE AAC, HE AAC v2, MPEG Surround) are kept in
// the library's records as audio formats 16..18.
constexpr uint32_t kAudioExtensionBase = 15;
constexpr uint32_t kAudioLastExtensionCode = 3;
constexpr uint32_t kAudioFirstExtensionType = kAudioExtensionBase + 1;
constexpr uint32_t kAudioLastExtensionType = kAudioExtensionBase + kAudioLastExtensionCode;

// Extended tag code of the colorimetry data block (section 7.5.5): payload
// byte 2 bit 0 xvYCC601, bit 1 xvYCC709; byte 3 metadata profiles.
constexpr uint8_t kExtendedTagColorimetry = 5;

// ---------------------------------------------------------------------------
// HDMI vendor-specific data block (HDMI 1.4b section 8.3.2), offsets from
// the block's header byte.

// bytes 1-3, IEEE OUI 0x000C03, least significant byte first
constexpr uint32_t kHdmiOui = 0x000C03;
constexpr size_t kVsdbOui = 1;
constexpr uint32_t kVsdbOuiLength = 3;
// bytes 4-5, source physical address A.B.C.D, one nibble each
constexpr size_t kVsdbAddress = 4;
constexpr uint32_t kVsdbMinHdmiLength = 5;
// byte 6: Supports_AI, DC_48bit, DC_36bit, DC_30bit, DC_Y444, DVI_Dual
constexpr size_t kVsdbFlags = 6;
// byte 7, Max_TMDS_Clock in units of 5 MHz
constexpr size_t kVsdbTmdsClock = 7;
constexpr uint32_t kTmdsClockUnitMhz = 5;
// byte 8: the latency presence flags, HDMI_Video_present and CNC3..CNC0
constexpr size_t kVsdbPresence = 8;
// bytes 9-10, Video_Latency and Audio_Latency, (ms / 2) + 1 up to 500 ms or
// 255 for "not supported"; then the interlaced pair
constexpr size_t kVsdbLatency = 9;
constexpr uint16_t kMaxLatencyMs = 500;
constexpr uint8_t kLatencyNotSupportedByte = 255;
// After the HDMI video byte, HDMI_VIC_LEN (3 bits) HDMI VICs.
constexpr uint32_t kMaxHdmiVics = 7;
// 3D_MASK, 3D_Structure_ALL and 2D_VIC_order reach the first 16 video formats.
constexpr int32_t kMax3dFormats = 16;
// A per-format 3D entry with 3D_Structure 8 (side-by-side half) is followed
// by a 3D_Detail byte.
constexpr uint32_t k3dStructureWithDetail = 8;

}  // namespace layout
}  // namespace edc
