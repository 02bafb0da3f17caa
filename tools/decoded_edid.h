// A decoded EDID record owned for a scope, the library's output captured
// while it decodes, and the readable names the tool shows beside the
// record's numbers.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "edid_decode_encode.h"

namespace edc_tool {

// Runs fn with standard output sent to memory and returns what was printed
// there (the library prints every diagnostic on standard output).
std::string CaptureStdout(const std::function<void()> &fn);

// An edid_t prepared on construction and destroyed on destruction.
class DecodedEdid {
 public:
  DecodedEdid();
  ~DecodedEdid();
  DecodedEdid(const DecodedEdid &) = delete;
  DecodedEdid &operator=(const DecodedEdid &) = delete;

  // Decodes bytes as print_edid does: block 0, then the blocks after it when
  // there are any. Returns whether the library reported no failure; its lines
  // (errors and, with the debug flag, traces) go to diagnostics.
  bool Decode(const std::vector<uint8_t> &bytes, std::string &diagnostics);

  edid_t &record() { return edid_; }
  const edid_t &record() const { return edid_; }

 private:
  edid_t edid_;
  bool prepared_;
};

// The text dump of bytes, as "dump" prints it: when decoded, the library's
// lines from decoding (diagnostics) and then every field (or the summary
// form); otherwise the lines of print_edid, which say which block failed.
std::string DumpText(DecodedEdid &edid, bool decoded, const std::string &diagnostics,
                     const std::vector<uint8_t> &bytes, bool summary, const std::string &title);

// Copies of a list's elements, head to tail; empty when the list does not
// hold elements of type T.
template <typename T>
std::vector<T> Elements(const ll_list_t &list);

// "1920x1080p60": the visible frame of a detailed timing, interlaced or
// progressive, and its refresh rate in Hz.
std::string TimingName(const detailed_timing_t &timing);
uint32_t RefreshRate(const detailed_timing_t &timing);

// The VIC a short video descriptor names, and whether it is marked native,
// as CTA-861 reads its byte since VICs 193 and up exist: bit 7 is the native
// flag only for VICs 1 to 64, and bytes 193 to 255 are VICs 193 to 255. The
// record keeps bits 6-0 as the VIC and bit 7 as the flag, so such a VIC
// arrives as 65 to 127 with native set.
uint32_t SvdVic(const short_video_desc_t &svd);
bool SvdNative(const short_video_desc_t &svd);

// The name of a VIC: the library's for VICs 1 to 64 ("1920x1080p60Hz16x9"),
// else that of the CTA-861 format table ("3840x2160p60 16:9"), else the
// library's "Unknown Value".
std::string VicName(uint32_t vic);

// Names of the bits set in a mask, in bit order.
std::vector<std::string> StereoNames(uint32_t stereo);
std::vector<std::string> SpeakerNames(const uint8_t speaker[3]);
std::vector<std::string> EstablishedTimingNames(const edid_t &edid);

// Sample rates in kHz (32, 44.1, ...) and LPCM sample sizes in bits.
std::vector<double> SampleRatesKhz(uint32_t sample_rates);
std::vector<uint32_t> BitDepths(uint32_t bit_depths);

// The HDMI VICs the record holds (at most the seven it has room for).
std::vector<uint32_t> HdmiVics(const edid_t &edid);

// "1.0.0.0", "4.f.0.0": a nibble a digit, in hex as HDMI and CEC write it.
std::string AddressText(const physical_address_t &address);

// A record field of char[14] or char[4] as text, up to its first NUL.
template <size_t N>
std::string FieldText(const char (&field)[N]) {
  size_t length = 0;
  while (length < N && field[length] != '\0') ++length;
  return std::string(field, length);
}

}  // namespace edc_tool
