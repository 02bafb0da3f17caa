// What is printed about an EDID: the text dump, whole outputs compared with
// reviewed golden files (tests/golden/, normalized as in capture.h), and the
// dump command as a user runs it; the JSON form of a record (dump --json,
// compare --json) and the compare command's rows.
#include <filesystem>
#include <nlohmann/json.hpp>

#include "compare_command.h"
#include "cta_view.h"
#include "decoded_edid.h"
#include "edc_test.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "edid_json.h"
#include "json_writer.h"
#include "text_escape.h"

using namespace edc_test;  // NOLINT: capture, record and tool helpers throughout
using nlohmann::json;
using testing::HasSubstr;

namespace {

std::string Printed(const Bytes &bytes, uint8_t summary, const std::string &title,
                    bool traces = false) {
  DebugOn debug(traces);
  return Capture([&] {
    print_edid(bytes.data(), static_cast<uint32_t>(bytes.size()), summary, title.c_str());
  });
}

// An HDMI TV with 3D structures per format, a UHD TV with HDMI VICs, a
// monitor without the HDMI block, a base block alone, three blocks, and a
// CEA extension whose checksum fails.
TEST(DumpGolden, RealEdidsInBothForms) {
  for (const std::string stem :
       {"hdmi3d-01fed248b978", "hdmi3d-000ee288edb2", "monitor-cea-fcb67c4e575d",
        "base-fabfe2602322", "multi-73dba7bd93d7", "odd-003aa3b7c39b"}) {
    ExpectGolden(stem + ".full.txt", Normalize(Printed(CorpusBytes(stem + ".bin"), 0, stem)));
    ExpectGolden(stem + ".summary.txt", Normalize(Printed(CorpusBytes(stem + ".bin"), 1, stem)));
  }
}

// A decoded TV altered to hold what decoding never produces: a skipped
// timing (numbered 0, 2, ...), a standard timings list of another type
// (reported, walked anyway) whose entry has an aspect code outside 0..3,
// gamma 1.05, no image size, an unknown HDMI VIC, dual DVI, xvYCC709 alone.
TEST(DumpGolden, AlteredRecordAndTheValidFlag) {
  const auto bytes = CorpusBytes("hdmi3d-01fed248b978.bin");
  PreparedEdid record;
  edid_t &e = record.edid;
  ASSERT_TRUE(decode_edid_block_0(bytes.data(), &e) &&
              decode_edid_extensions(&bytes[128], 128, &e));
  void *data = nullptr;
  ASSERT_TRUE(ll_entry_at(&e.dtd_list, 1, &data));
  static_cast<detailed_timing_t *>(data)->valid = 0;
  ASSERT_TRUE(ll_entry_at(&e.std_timings, 0, &data));
  static_cast<std_timing_t *>(data)->aspect_ratio = 7;
  e.std_timings.type_code = e.std_timings.head->type_code = 1;
  e.serial = 0x89ABCDEF, e.monitor_name[0] = '\0', strcpy(e.monitor_data, "DATA");
  e.gamma = 5, e.h_size_cm = 0, e.dvi_dual = 1, e.xvycc709 = 1;
  e.hdmi_vic_len = 2, e.hdmi_vic[0] = 4, e.hdmi_vic[1] = 9;
  const auto print = [&](uint8_t summary) {
    return Normalize(Capture([&] { EXPECT_EQ(print_edid_struct(&e, summary, "altered"), 1); }));
  };
  ExpectGolden("altered.full.txt", print(0));
  ExpectGolden("altered.summary.txt", print(1));
  // Without a recognised header the full form is the title alone; the
  // summary does not look at the flag.
  e.valid = 0;
  EXPECT_EQ(print(0), "altered\n");
  ExpectGolden("altered.summary.txt", print(1));
}

TEST(Dump, RefusesWhatIsNotWholeBlocks) {
  const auto bytes = CorpusBytes("base-fabfe2602322.bin");
  ExpectGolden("dump_refusals.txt",
               "# print_edid: NULL, 129 bytes, 0 bytes (none read: block 0 is all zeros); "
               "print_edid_struct: NULL\n" +
                   Normalize(Capture([&] {
                     print_edid(nullptr, 128, 0, "t");
                     print_edid(bytes.data(), 129, 0, "t");
                     print_edid(bytes.data(), 0, 0, "t");
                     EXPECT_EQ(print_edid_struct(nullptr, 1, "t"), 0);
                   })));
}

// On every tenth corpus EDID (all with EDC_TOOL_FULL_CORPUS=1: about 20 s,
// and 100 s under the sanitizers) the tool, from a binary file and from
// standard input as xxd -p's and edid-decode's text, prints what print_edid
// prints, exit status 1 where decoding fails; the full form then adds the
// modern reader's section where the EDID has modern blocks. That it reads
// every EDID in each form is checked in corpus_test.cpp.
TEST(ToolDump, ReadsCorpusEdidsInEachFormAsPrintEdidPrintsThem) {
  const size_t stride = getenv("EDC_TOOL_FULL_CORPUS") != nullptr ? 1 : 10;
  for (size_t i = 0; i < Corpus().size(); i += stride) {
    const CorpusEdid &c = Corpus()[i];
    SCOPED_TRACE(c.path);
    const edc_tool::CtaRecord cta = edc_tool::ReadCta(c.bytes);
    const std::string modern = cta.modern() ? edc_tool::CtaText(cta.info) : "";
    const std::string full = Printed(c.bytes, 0, c.path) + modern;
    const int status = full.find("print_edid() ERROR: Failed decoding") != std::string::npos;
    std::string peer = RunCommand("edid-decode '" + c.path + "' 2>/dev/null");
    if (peer.empty()) peer.assign(c.bytes.begin(), c.bytes.end());  // edid-decode crashed
    const std::pair<ToolResult, std::string> runs[] = {
        {RunTool("dump " + c.path), full},
        {RunTool("dump --summary --debug --title TV -", XxdText(c.bytes)),
         Printed(c.bytes, 1, "TV", true)},
        {RunTool("dump -", peer), Printed(c.bytes, 0, "standard input") + modern}};
    // The tool escapes the control characters an EDID's text may hold, and
    // names a file cut short on standard error.
    const std::string missing = edc_tool::MissingBlocks(c.bytes);
    for (const auto &[result, expected] : runs) {
      EXPECT_EQ(result.status, status);
      EXPECT_EQ(result.out, edc_tool::EscapeControls(expected));
      if (missing.empty())
        EXPECT_EQ(result.err, "");
      else
        EXPECT_THAT(result.err, testing::EndsWith(": " + missing + "\n"));
    }
  }
}

// JSON and compare --------------------------------------------------------------------------------

const std::string kExamples = EDC_EXAMPLES_DIR;

void Decode(const std::string &path, edc_tool::DecodedEdid &edid) {
  std::string diagnostics;
  EXPECT_TRUE(edid.Decode(ReadFile(path), diagnostics)) << path << diagnostics;
}

// The bytes of a JSON text field: each character one byte (U+0000..U+00FF).
std::string JsonBytes(const json &text) {
  const std::string utf8 = text.get<std::string>();
  std::string bytes;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    bytes +=
        c < 0x80 ? static_cast<char>(c) : static_cast<char>((c & 0x1F) << 6 | (utf8[++i] & 0x3F));
  }
  return bytes;
}

// What the summary shows, read back from the JSON text, equals the record.
void ExpectSummaryFieldsRoundTrip(const edid_t &e) {
  const json j = json::parse(edc_tool::JsonText(edc_tool::EdidJson(e)));
  EXPECT_EQ(JsonBytes(j["manufacturer_id"]), edc_tool::FieldText(e.manufacturer_id));
  EXPECT_EQ(JsonBytes(j["monitor_name"]), edc_tool::FieldText(e.monitor_name));
  EXPECT_EQ(JsonBytes(j["monitor_serial"]), edc_tool::FieldText(e.monitor_serial));
  EXPECT_EQ(JsonBytes(j["monitor_data"]), edc_tool::FieldText(e.monitor_data));
  EXPECT_EQ(j["serial"], e.serial);
  const auto videos = edc_tool::Elements<short_video_desc_t>(e.video_list);
  ASSERT_EQ(j["video_list"].size(), videos.size());
  for (size_t i = 0; i < videos.size(); ++i) {
    EXPECT_EQ(j["video_list"][i]["vic"], videos[i].vic);
    EXPECT_EQ(j["video_list"][i]["native"], videos[i].native != 0);
    EXPECT_EQ(j["video_list"][i]["stereo"], videos[i].stereo);
  }
  ASSERT_EQ(j["hdmi_vic"].size(), std::min<size_t>(e.hdmi_vic_len, 7));
  for (size_t i = 0; i < j["hdmi_vic"].size(); ++i)
    EXPECT_EQ(j["hdmi_vic"][i]["vic"], e.hdmi_vic[i]);
  EXPECT_EQ(j["present_3d"], e.present_3d != 0);
  const auto audios = edc_tool::Elements<short_audio_desc_t>(e.audio_list);
  ASSERT_EQ(j["audio_list"].size(), audios.size());
  for (size_t i = 0; i < audios.size(); ++i)
    for (const auto &[key, value] : {std::pair{"format", audios[i].format},
                                     {"channels", audios[i].channels},
                                     {"sample_rates", audios[i].sample_rates},
                                     {"bit_depths", audios[i].bit_depths},
                                     {"max_bitrate", audios[i].max_bitrate},
                                     {"format_value", audios[i].format_value}})
      EXPECT_EQ(j["audio_list"][i][key], value) << key;
  EXPECT_EQ(j["address"],
            Format("%u.%u.%u.%u", e.address.a, e.address.b, e.address.c, e.address.d));
}

// Every 20th corpus EDID that decodes, and a record whose texts need
// escaping (a quote, a backslash, a control character) or are not ASCII.
TEST(EdidJson, RoundTripsWhatTheSummaryShows) {
  const auto &corpus = Corpus();
  for (size_t i = 0; i < corpus.size(); i += 20) {
    SCOPED_TRACE(corpus[i].file);
    edc_tool::DecodedEdid edid;
    std::string diagnostics;
    if (edid.Decode(corpus[i].bytes, diagnostics)) ExpectSummaryFieldsRoundTrip(edid.record());
  }
  edc_tool::DecodedEdid edid;
  Decode(kExamples + "/uhd-tv-4k.bin", edid);
  strcpy(edid.record().monitor_name, "A\"B\\C\t");
  strcpy(edid.record().monitor_data, "caf\xe9");
  ExpectSummaryFieldsRoundTrip(edid.record());
  const json j = json::parse(edc_tool::JsonText(edc_tool::EdidJson(edid.record())));
  EXPECT_EQ(j["monitor_data"], "caf\xc3\xa9");  // "café"
}

// The whole document of a UHD television, kept as the reference of the key
// names and shapes the README documents; compare --json holds the same.
TEST(ToolDump, JsonOfATelevision) {
  const std::string path = kExamples + "/uhd-tv-4k.bin";
  const auto dump = RunTool("dump --json " + path);
  EXPECT_EQ(dump.status, 0);
  EXPECT_EQ(dump.err, "");
  ExpectGolden("uhd-tv-4k.json", dump.out);
  const auto compare = RunTool("compare --json " + path + " " + path);
  EXPECT_EQ(compare.status, 0);
  const json document = json::parse(compare.out);
  EXPECT_EQ(document["a"]["edid"], json::parse(dump.out));
  for (const auto &row : document["rows"]) EXPECT_EQ(row["status"], "same") << row;
}

// The rows of a television and the EDID composed for it: every video format
// the composition dropped is a row of A alone, marked "<" in the text.
// A television whose data blocks run to byte 118, past where the decoder
// accepts a detailed timing: dump and compare give the decoder's refusal,
// exit status 1, and still the modern reader's fields.
TEST(ToolDump, ShowsTheModernBlocksOfAnEdidTheDecoderRefuses) {
  const std::string path = std::string(EDC_CORPUS_DIR) + "/edid/odd-d9e93b6090e6.bin";
  const std::string refusal =
      "decode_edid_extensions() ERROR: EDID DTD offset value is larger than the block. Offset:118";
  for (const std::string &command : {"dump " + path, "compare " + path + " " + path}) {
    const auto result = RunTool(command);
    SCOPED_TRACE(command);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, testing::HasSubstr(refusal));
    EXPECT_THAT(result.out, testing::HasSubstr("Max_TMDS_Character_Rate"));
    EXPECT_THAT(result.out, testing::HasSubstr("600 MHz"));
    EXPECT_THAT(result.out, testing::HasSubstr("SMPTE ST 2084 HLG"));
  }
  const auto json_dump = RunTool("dump --json " + path);
  EXPECT_EQ(json_dump.status, 1);
  const json document = json::parse(json_dump.out);
  EXPECT_EQ(document["decoded"], false);
  EXPECT_EQ(document["cta"][0]["name"], "CTA extensions");
}

TEST(ToolCompare, MarksTheModesTheCompositionDropped) {
  const std::string tv = kExamples + "/sony-tv.bin";
  const std::string composed = testing::TempDir() + "edc_compare_" + std::to_string(getpid());
  ASSERT_EQ(RunTool("compose --quiet --config " + kExamples + "/platform.toml --sink " + tv +
                    " -o " + composed)
                .status,
            0);
  edc_tool::DecodedEdid a, b;
  Decode(tv, a);
  Decode(composed, b);
  std::set<uint32_t> offered;
  for (const auto &svd : edc_tool::Elements<short_video_desc_t>(b.record().video_list))
    offered.insert(svd.vic);
  auto rows = edc_tool::CompareRows(a.record(), b.record());
  edc_tool::AddCtaRows(rows, edc_tool::ReadCta(ReadFile(tv)),
                       edc_tool::ReadCta(ReadFile(composed)));
  size_t dropped = 0;
  for (const auto &svd : edc_tool::Elements<short_video_desc_t>(a.record().video_list)) {
    const std::string label = Format("VIC %u ", svd.vic);
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto &r) {
      return r.capability.compare(0, label.size(), label) == 0;
    });
    ASSERT_NE(row, rows.end()) << label;
    const bool kept = offered.count(svd.vic) != 0;
    EXPECT_EQ(row->Status() == edc_tool::RowStatus::kOnlyA, !kept) << label;
    dropped += !kept;
  }
  EXPECT_GT(dropped, 0u);  // the 50 Hz formats of this 60 Hz television

  const auto text = RunTool("compare " + tv + " " + composed);
  unlink(composed.c_str());
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out, edc_tool::CompareText(rows, tv, composed));
  ExpectGolden("compare_sony_composed.txt",
               edc_tool::CompareText(rows, "sony-tv.bin", "composed.bin"));
}

// dump --json with a directory, a file that decodes, one that cannot be
// read and one the library refuses: one object a line in that order (the
// directory's files sorted, its subdirectory left out), each a single
// dump's keys after "path"; the exit status is the worst.
TEST(ToolDump, JsonLinesForManyFilesAndDirectories) {
  namespace fs = std::filesystem;
  const fs::path folder = testing::TempDir() + "edc_lines_" + std::to_string(getpid());
  fs::create_directories(folder / "inner");
  for (const char *name : {"sony-tv.bin", "uhd-tv-4k.bin"})
    fs::copy_file(kExamples + "/" + name, folder / (std::string("b-") + name));
  std::ofstream(folder / "a-notes.txt") << "not an EDID\n";
  const std::string refused = CorpusDir() + "/edid/odd-000528658b45.bin";  // version 1.2
  const std::string uhd = kExamples + "/uhd-tv-4k.bin";
  const auto lines =
      RunTool("dump --json " + folder.string() + " " + uhd + " /nonexistent.bin " + refused);
  EXPECT_EQ(lines.status, 2);
  const std::vector<std::string> text = SplitLines(lines.out);
  ASSERT_EQ(text.size(), 6u) << lines.out;
  std::vector<json> objects;
  for (const std::string &line : text) objects.push_back(json::parse(line));
  const std::string paths[] = {(folder / "a-notes.txt").string(),
                               (folder / "b-sony-tv.bin").string(),
                               (folder / "b-uhd-tv-4k.bin").string(),
                               uhd,
                               "/nonexistent.bin",
                               refused};
  for (size_t i = 0; i < objects.size(); ++i) EXPECT_EQ(objects[i]["path"], paths[i]) << i;
  EXPECT_EQ(objects[0]["error"], "line 1: \"not\" is not hexadecimal EDID data");
  EXPECT_EQ(objects[4]["error"], "cannot open: No such file or directory");
  EXPECT_EQ(objects[0]["status"], 2);
  EXPECT_EQ(objects[4]["status"], 2);
  EXPECT_EQ(objects[5]["status"], 1);
  EXPECT_THAT(Normalize(objects[5]["error"].get<std::string>()),
              HasSubstr("decode_edid_block_0() ERROR: Failed EDID Version/Revision check."));
  // A decoded file: "path", then exactly what dump --json prints for it.
  for (const size_t i : {1, 2, 3}) {
    json single = json::parse(RunTool("dump --json " + paths[i]).out);
    json line = objects[i];
    EXPECT_TRUE(text[i].starts_with("{\"path\":")) << text[i];
    line.erase("path");
    EXPECT_EQ(line, single) << paths[i];
  }
  fs::remove_all(folder);
  // Without --json several files are refused; one directory is a file that cannot be read.
  EXPECT_EQ(RunTool("dump " + uhd + " " + uhd).err,
            "edid-composer: usage: several FILEs are printed with --json only\n");
  EXPECT_EQ(RunTool("dump " + kExamples).status, 2);
}

// The JSON Lines of the whole corpus in one process hold for every decoded
// EDID the record dump --json gives (compared in this process), and keep
// going past every file the library refuses.
TEST(ToolDump, JsonLinesOfTheCorpus) {
  const auto run = RunTool("dump --json " + CorpusDir() + "/edid");
  EXPECT_EQ(run.status, 1);
  const std::vector<std::string> lines = SplitLines(run.out);
  const auto &corpus = Corpus();
  ASSERT_EQ(lines.size(), corpus.size());
  std::map<std::string, const CorpusEdid *> by_path;
  for (const CorpusEdid &c : corpus) by_path[c.path] = &c;
  size_t decoded = 0, refused = 0;
  for (const std::string &text : lines) {
    edc_tool::Json line = edc_tool::Json::parse(text);
    const CorpusEdid *c = by_path.at(line["path"].get<std::string>());
    edc_tool::DecodedEdid edid;
    std::string diagnostics;
    if (!edid.Decode(c->bytes, diagnostics)) {
      EXPECT_EQ(line["status"], 1) << c->file;
      ++refused;
      continue;
    }
    line.erase("path");
    if (const edc_tool::CtaRecord cta = edc_tool::ReadCta(c->bytes); cta.modern()) {
      EXPECT_EQ(line["cta"], edc_tool::CtaJson(cta.info)) << c->file;
      line.erase("cta");
    }
    EXPECT_EQ(line, edc_tool::EdidJson(edid.record())) << c->file;
    ++decoded;
  }
  EXPECT_GT(decoded, 1000u);
  EXPECT_GT(refused, 0u);
}

// compare names the VICs beyond the library's 64 from the CTA-861 format
// table, and reads an SVD byte of 193 or more as that VIC, never native.
TEST(ToolCompare, NamesEveryDefinedVic) {
  edc_tool::DecodedEdid uhd, vic218, vic225;
  Decode(kExamples + "/uhd-tv-4k.bin", uhd);
  Decode(CorpusDir() + "/edid/hdmi3d-00000e3a4736.bin", vic218);
  Decode(CorpusDir() + "/edid/hdmi3d-20721254ea9e.bin", vic225);
  const auto row = [](const edid_t &a, const edid_t &b, const std::string &label) {
    for (const auto &r : edc_tool::CompareRows(a, b))
      if (r.capability == label) return r.a.value_or("absent") + " | " + r.b.value_or("absent");
    return std::string("no row");
  };
  EXPECT_EQ(row(uhd.record(), vic218.record(), "VIC 93 3840x2160p24 16:9"), "yes | yes");
  EXPECT_EQ(row(uhd.record(), vic218.record(), "VIC 89 2560x1080p50 64:27"), "absent | yes");
  EXPECT_EQ(row(uhd.record(), vic218.record(), "VIC 98 4096x2160p24 256:135"), "yes | absent");
  EXPECT_EQ(row(uhd.record(), vic218.record(), "VIC 218 4096x2160p100 256:135"), "absent | yes");
  EXPECT_EQ(row(uhd.record(), vic218.record(), "VIC 16 1920x1080p60Hz16x9"), "yes, native | yes");
  EXPECT_EQ(row(vic225.record(), vic225.record(), "VIC 225 Unknown Value"), "yes | yes");
  const edc_tool::Json entries = edc_tool::EdidJson(vic218.record())["video_list"];
  const auto at = std::find_if(entries.begin(), entries.end(),
                               [](const edc_tool::Json &e) { return e.contains("cta_vic"); });
  ASSERT_NE(at, entries.end());
  EXPECT_EQ(*at,
            edc_tool::Json::parse(R"({"vic": 90, "cta_vic": 218, "name": "4096x2160p100 256:135",
                                 "native": true, "stereo": 0, "stereo_names": []})"));
}

// The JSON writer's text is nlohmann's for the same values, the texts with
// bytes that are not UTF-8 as nlohmann writes them when told to replace them.
TEST(JsonWriter, WritesWhatNlohmannWrites) {
  const std::string texts[] = {"plain",
                               "q\"b\\s/",
                               "\b\f\n\r\t\x01\x1f\x7f",
                               "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",
                               "bad \xe9 end",
                               "\xc0\xaf overlong",
                               "\xed\xa0\x80 surrogate",
                               "\xf4\x90\x80\x80 big",
                               "cut \xe2\x82",
                               "\xe2\x82 x \xf0\x9f\x98",
                               ""};
  edc_tool::JsonWriter w;
  w.BeginObject();
  nlohmann::ordered_json expected = nlohmann::ordered_json::object();
  for (size_t i = 0; i < std::size(texts); ++i) {
    w.Field("t" + std::to_string(i), texts[i]);
    expected["t" + std::to_string(i)] = texts[i];
  }
  const double numbers[] = {32, 44.1, 176.4, 0.5, -3, 1e300};
  w.Field("d", std::vector<double>(std::begin(numbers), std::end(numbers)));
  expected["d"] = numbers;
  w.Field("i", std::vector<int32_t>{-7, 0, 2147483647});
  expected["i"] = {-7, 0, 2147483647};
  w.Field("u", uint32_t{4294967295});
  expected["u"] = uint32_t{4294967295};
  w.Field("b", std::vector<bool>{true, false});
  expected["b"] = {true, false};
  w.Key("o");
  w.BeginObject();
  w.EndObject();
  expected["o"] = nlohmann::ordered_json::object();
  w.EndObject();
  EXPECT_EQ(w.text(), expected.dump(-1, ' ', false, json::error_handler_t::replace));
}

}  // namespace
