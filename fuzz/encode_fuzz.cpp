// A record whose every field and list is filled from the fuzz input (any
// values, list lengths up to past the encoder's limits, texts of every length
// with blanks and without their NUL), encoded into exactly 256 heap bytes so
// that AddressSanitizer reports any write outside them. _encode_string gets
// a heap text of exactly its length and the 19 bytes a 13-letter text needs.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "edid_decode_encode.h"
#include "linked_list.h"
#include "utility.h"

namespace {

// Appends count elements of T to list, each from the input's bytes; fix
// may then make the element likelier to be encoded.
template <typename T, typename Fix>
void Fill(FuzzedDataProvider &in, ll_list_t *list, const char *type, int count, Fix &&fix) {
  for (int i = 0; i < count; ++i) {
    ll_entry_t *entry = nullptr;
    void *data = nullptr;
    if (!ll_create_entry(sizeof(T), &entry, &data, type)) __builtin_trap();
    const std::vector<uint8_t> bytes = in.ConsumeBytes<uint8_t>(sizeof(T));
    if (!bytes.empty()) memcpy(data, bytes.data(), bytes.size());
    fix(*static_cast<T *>(data));
    if (!ll_add_entry_to_back(list, entry)) __builtin_trap();
  }
}

void FillText(FuzzedDataProvider &in, char (&field)[14]) {
  if (!in.ConsumeBool()) return;  // keep the raw bytes, NUL or not
  const std::string text = in.ConsumeRandomLengthString(sizeof field);
  memset(field, 0, sizeof field);
  if (!text.empty()) memcpy(field, text.data(), text.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider in(data, size);
  debug_enable(in.ConsumeBool());
  edid_t edid;
  if (!edid_prepare(&edid)) __builtin_trap();
  // Every byte of the record but its list heads.
  const std::pair<size_t, size_t> fields[] = {
      {0, offsetof(edid_t, std_timings)},
      {offsetof(edid_t, monitor_serial), offsetof(edid_t, video_list)},
      {offsetof(edid_t, speaker), sizeof(edid_t)}};
  for (const auto &[begin, end] : fields) {
    const std::vector<uint8_t> bytes = in.ConsumeBytes<uint8_t>(end - begin);
    if (!bytes.empty())
      memcpy(reinterpret_cast<uint8_t *>(&edid) + begin, bytes.data(), bytes.size());
  }
  FillText(in, edid.monitor_name);
  FillText(in, edid.monitor_serial);
  const bool plain = in.ConsumeBool();  // timings likely valid, audio likely known
  Fill<detailed_timing_t>(in, &edid.dtd_list, "detailed_timing_t", in.ConsumeIntegralInRange(0, 4),
                          [&](detailed_timing_t &t) {
                            if (plain)
                              t.valid = 1, t.pixel_clock = 25175000 + t.pixel_clock % 600000000;
                          });
  Fill<std_timing_t>(in, &edid.std_timings, "std_timing_t", in.ConsumeIntegralInRange(0, 10),
                     [](std_timing_t &) {});
  Fill<short_video_desc_t>(in, &edid.video_list, "short_video_desc_t",
                           in.ConsumeIntegralInRange(0, 40), [](short_video_desc_t &) {});
  Fill<short_audio_desc_t>(in, &edid.audio_list, "short_audio_desc_t",
                           in.ConsumeIntegralInRange(0, 14), [&](short_audio_desc_t &a) {
                             if (plain) a.format = 1 + a.format % 18;
                           });
  platform_values_t platform{};
  platform.native_bit = in.ConsumeIntegral<int32_t>();
  uint8_t spa = 0;
  const bool with_spa = in.ConsumeBool(), with_platform = in.ConsumeBool();

  const auto blocks = std::make_unique<uint8_t[]>(256);
  encode_edid(blocks.get(), 256, &edid, with_spa ? &spa : nullptr,
              with_platform ? &platform : nullptr);

  const std::string text = in.ConsumeRemainingBytesAsString();
  const auto exact = std::make_unique<char[]>(text.size() + 1);
  memcpy(exact.get(), text.c_str(), text.size() + 1);
  const auto descriptor = std::make_unique<uint8_t[]>(19);
  _encode_string(descriptor.get(), static_cast<int8_t>(0xFF), exact.get());

  if (!edid_destroy(&edid)) __builtin_trap();
  debug_enable(false);
  return 0;
}
