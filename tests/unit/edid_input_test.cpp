// The tool's input reader: the forms in which users hold EDIDs, and a clear
// refusal of everything else.
#include "edid_input.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capture.h"
#include "edid_output.h"

using edc_tool::ParseEdid;
using testing::HasSubstr;

namespace {

std::vector<uint8_t> Bytes(const std::string &text) {
  return {text.begin(), text.end()};
}

// A block of 128 bytes starting with the EDID header, then 8, 9, 10, ...
std::vector<uint8_t> Block(uint8_t fill = 0) {
  std::vector<uint8_t> block = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
  for (int i = 8; i < 128; ++i) block.push_back(static_cast<uint8_t>(i + fill));
  return block;
}

// Hex text of bytes: per_line bytes a line, each as printf(format).
std::string Hex(const std::vector<uint8_t> &bytes, int per_line, const char *format,
                const char *separator) {
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i)
    text += edc_test::Format(format, bytes[i]) + ((i + 1) % per_line == 0 ? "\n" : separator);
  return text;
}

TEST(EdidInput, ReadsBinaryAndEveryHexForm) {
  std::vector<uint8_t> edid = Block();
  const std::vector<uint8_t> extension = Block(1);
  edid.insert(edid.end(), extension.begin(), extension.end());
  const std::string spaced = Hex(edid, 16, "%02x", " ");
  const std::string first = spaced.substr(0, spaced.size() / 2);
  const std::string second = spaced.substr(spaced.size() / 2);
  const std::string forms[] = {
      std::string(edid.begin(), edid.end()),  // binary
      spaced,                                 // plain hex
      Hex(edid, 30, "%02x", ""),              // xxd -p
      Hex(edid, 16, "%02X", " "),             // upper case
      Hex(edid, 8, "0x%02x", ", ") + "\n",    // 0x prefixes and commas
      "unsigned char edid[] = {\n" + Hex(edid, 8, "0x%02x", ", ") + "};\n",  // a C array
      "edid-decode (hex):\n\n" + first + "\n" + second +
          "\n----------------\n\nBlock 0, Base EDID:\n  Version 1.3\n",  // edid-decode
      "// EDID\n/*\n * of a TV\n */\n" + Hex(edid, 8, "0x%02x", ", "),   // C comments
      edc_tool::HexText(edid),                                           // compose's forms
      edc_tool::CArrayText(edid, "composed from tv.bin */ and platform.toml"),
  };
  for (const auto &form : forms) {
    const auto input = ParseEdid(Bytes(form));
    EXPECT_EQ(input.error, "") << form;
    EXPECT_EQ(input.bytes, edid) << form;
  }
}

TEST(EdidInput, RefusesUnusableInputWithAReason) {
  struct Case {
    std::vector<uint8_t> contents;
    const char *reason;
  } cases[] = {
      {{}, "the input is empty"},
      {Bytes("\n \n"), "no hexadecimal EDID data found"},
      {Bytes("hello world\n00 ff\n"), "line 1: \"hello\" is not hexadecimal EDID data"},
      {Bytes("00 ff 0g\n"), "line 1: \"0g\" is not hexadecimal EDID data"},
      {Bytes("00 ff f\n"), "line 1: \"f\" is not hexadecimal EDID data"},
      {Bytes("00 ff ff\n"), "3 bytes of EDID data, which is not a multiple of 128"},
      {std::vector<uint8_t>(129, 0), "129 bytes of EDID data, which is not a multiple of 128"},
  };
  for (const auto &c : cases) {
    const auto input = ParseEdid(c.contents);
    EXPECT_EQ(input.error, c.reason);
    EXPECT_TRUE(input.bytes.empty());
  }
}

TEST(EdidInput, BinaryWithoutAHeaderIsStillBinary) {
  std::vector<uint8_t> garbage(256, 0x80);
  const auto input = ParseEdid(garbage);
  EXPECT_EQ(input.error, "");
  EXPECT_EQ(input.bytes.size(), 256u);
}

TEST(EdidInput, ReadsFilesAndNamesWhatWentWrong) {
  const std::string corpus_file = edc_test::CorpusDir() + "/edid/tv-0001b68004cc.bin";
  const auto input = edc_tool::ReadEdid(corpus_file);
  EXPECT_EQ(input.error, "");
  EXPECT_EQ(input.bytes.size(), 256u);
  EXPECT_EQ(edc_tool::ReadEdid("/nonexistent/edid.bin").error,
            "cannot open: No such file or directory");
  EXPECT_THAT(edc_tool::ReadEdid("/").error, HasSubstr("cannot read: Is a directory"));
}

}  // namespace
