// Every EDID of the real corpus through both decoders, with the debug traces
// on: no crash, no leak, no bug report (the sanitizer and valgrind runs check
// the first two), and each decoder succeeds exactly when the manifest says
// that the part it reads is well formed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture.h"
#include "edid_builder.h"

namespace {

// Manifest reasons that make each decoder give up (the others are decoded
// with warnings or not looked at).
const char *const kBaseFailures[] = {"version", "base_descriptor_byte2_4_set"};
const char *const kExtensionFailures[] = {"block_map_first", "first_ext_not_cea", "cea_revision",
                                          "ext_checksum",    "dtd_offset_gt110",  "dbc_overrun"};

TEST(CorpusDecode, EveryEdidDecodesAsItsManifestPredicts) {
  edc_test::DebugOn debug;
  int decoded = 0;
  for (const auto &entry : edc_test::ReadCorpusManifest()) {
    const auto bytes = edc_test::ReadFile(edc_test::CorpusDir() + "/edid/" + entry.file);
    ASSERT_EQ(bytes.size(), 128u * entry.blocks) << entry.file;
    edc_test::PreparedEdid record;
    uint8_t base = 0, extension = 0;
    const std::string out = edc_test::CaptureStdout([&] {
      base = decode_edid_block_0(bytes.data(), &record.edid);
      if (entry.blocks > 1)
        extension = decode_edid_extensions(bytes.data() + 128,
                                           static_cast<uint32_t>(bytes.size() - 128), &record.edid);
    });
    const bool base_ok = std::none_of(std::begin(kBaseFailures), std::end(kBaseFailures),
                                      [&](const char *r) { return entry.IsOdd(r); });
    const bool extension_ok =
        entry.blocks > 1 &&
        std::none_of(std::begin(kExtensionFailures), std::end(kExtensionFailures),
                     [&](const char *r) { return entry.IsOdd(r); });
    EXPECT_EQ(base, base_ok ? 1 : 0) << entry.file;
    EXPECT_EQ(extension, extension_ok ? 1 : 0) << entry.file;
    EXPECT_EQ(out.find(" BUG: "), std::string::npos) << entry.file;
    // The video formats of a decoded extension are the manifest's count.
    if (extension && entry.cea.rfind("svds=", 0) == 0) {
      EXPECT_EQ(ll_size(&record.edid.video_list), std::stoi(entry.cea.substr(5))) << entry.file;
    }
    decoded += base + extension;
  }
  EXPECT_GT(decoded, 2000);
}

}  // namespace
