#include "compare_command.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>

#include "command.h"
#include "decoded_edid.h"
#include "edid_input.h"
#include "edid_json.h"
#include "text_escape.h"
#include "utility.h"

namespace edc_tool {

namespace {

std::string Join(const std::vector<std::string> &words, const char *separator = " ") {
  std::string text;
  for (const auto &word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

std::string Hex4(uint32_t value) {
  char text[16];
  snprintf(text, sizeof text, "0x%04X", value);
  return text;
}

std::string Number(double value) {
  char text[16];
  snprintf(text, sizeof text, "%g", value);
  return text;
}

// Per RowStatus: the JSON word and the text's mark.
struct StatusWord {
  const char *name;
  const char *mark;
};
constexpr StatusWord kStatusWords[] = {
    {"same", " "}, {"differs", "*"}, {"only_a", "<"}, {"only_b", ">"}};

std::string OrNone(const std::string &text) {
  return text.empty() ? "none" : text;
}

// The refresh rate of the preferred (first) detailed timing.
std::string NativeRate(const edid_t &edid) {
  for (const detailed_timing_t &timing : Elements<detailed_timing_t>(edid.dtd_list))
    if (timing.valid)
      return std::to_string(RefreshRate(timing)) + " Hz (" + TimingName(timing) + ")";
  return "unknown (no detailed timing)";
}

std::string VideoValue(const short_video_desc_t &svd) {
  std::string value = "yes";
  if (SvdNative(svd)) value += ", native";
  if (svd.stereo != 0) value += ", 3D " + Join(StereoNames(svd.stereo));
  return value;
}

std::string AudioValue(const short_audio_desc_t &sad) {
  std::vector<std::string> rates;
  for (double khz : SampleRatesKhz(sad.sample_rates)) rates.push_back(Number(khz));
  std::string value = std::to_string(sad.channels) + " ch, " + Join(rates) + " kHz";
  std::vector<std::string> bits;
  for (uint32_t depth : BitDepths(sad.bit_depths)) bits.push_back(std::to_string(depth));
  if (sad.format == 1 && !bits.empty()) value += ", " + Join(bits) + " bit";
  return value;
}

std::string DeepColour(const edid_t &e) {
  std::vector<std::string> depths;
  if (e.dc_30bit) depths.emplace_back("30-bit");
  if (e.dc_36bit) depths.emplace_back("36-bit");
  if (e.dc_48bit) depths.emplace_back("48-bit");
  if (e.dc_y444) depths.emplace_back("YCbCr 4:4:4");
  return OrNone(Join(depths));
}

std::string Latencies(const edid_t &e) {
  return std::to_string(e.video_latency) + ", " + std::to_string(e.audio_latency) + ", " +
         std::to_string(e.interlaced_video_latency) + ", " +
         std::to_string(e.interlaced_audio_latency) + " ms";
}

// Rows for a list on both sides, one per key: A's keys in A's order, then
// those only in B. Entries with the same key on one side share a row.
template <typename Key, typename Entry>
void AddKeyedRows(std::vector<CompareRow> &rows, const std::vector<Entry> &a,
                  const std::vector<Entry> &b, const std::function<Key(const Entry &)> &key,
                  const std::function<std::string(const Key &)> &label,
                  const std::function<std::string(const Entry &)> &value) {
  std::vector<Key> order;
  std::map<Key, std::string> values[2];
  const std::vector<Entry> *sides[2] = {&a, &b};
  for (int side = 0; side < 2; ++side)
    for (const Entry &entry : *sides[side]) {
      const Key k = key(entry);
      if (std::find(order.begin(), order.end(), k) == order.end()) order.push_back(k);
      std::string &text = values[side][k];
      text += (text.empty() ? "" : " + ") + value(entry);
    }
  for (const Key &k : order) {
    CompareRow row{label(k), std::nullopt, std::nullopt};
    if (values[0].count(k)) row.a = values[0][k];
    if (values[1].count(k)) row.b = values[1][k];
    rows.push_back(row);
  }
}

}  // namespace

RowStatus CompareRow::Status() const {
  if (!a) return RowStatus::kOnlyB;
  if (!b) return RowStatus::kOnlyA;
  return *a == *b ? RowStatus::kSame : RowStatus::kDiffers;
}

const char *StatusName(RowStatus status) {
  return kStatusWords[static_cast<size_t>(status)].name;
}

std::vector<CompareRow> CompareRows(const edid_t &a, const edid_t &b) {
  std::vector<CompareRow> rows;
  const auto both = [&](const char *capability,
                        const std::function<std::string(const edid_t &)> &of) {
    rows.push_back({capability, of(a), of(b)});
  };
  both("manufacturer", [](const edid_t &e) { return OrNone(FieldText(e.manufacturer_id)); });
  both("product code", [](const edid_t &e) { return Hex4(e.product_id); });
  both("monitor name", [](const edid_t &e) { return OrNone(FieldText(e.monitor_name)); });
  both("serial number", [](const edid_t &e) {
    const std::string text = FieldText(e.monitor_serial);
    return std::to_string(e.serial) + (text.empty() ? "" : " \"" + text + "\"");
  });
  both("made", [](const edid_t &e) {
    return "week " + std::to_string(e.week) + " of " + std::to_string(e.year);
  });
  both("EDID version", [](const edid_t &e) {
    return std::to_string(e.version) + "." + std::to_string(e.revision);
  });
  both("physical address", [](const edid_t &e) {
    return e.hdmi_vsdb_present ? AddressText(e.address) : std::string("none (no HDMI block)");
  });
  both("native rate", NativeRate);

  using Svd = short_video_desc_t;
  AddKeyedRows<uint32_t, Svd>(
      rows, Elements<Svd>(a.video_list), Elements<Svd>(b.video_list), SvdVic,
      [](const uint32_t &vic) { return "VIC " + std::to_string(vic) + " " + VicName(vic); },
      VideoValue);
  AddKeyedRows<uint32_t, uint32_t>(
      rows, HdmiVics(a), HdmiVics(b), [](const uint32_t &vic) { return vic; },
      [](const uint32_t &vic) {
        return "4Kx2K " + std::to_string(vic) + " " + hdmi_vic_string(static_cast<int32_t>(vic));
      },
      [](const uint32_t &) { return std::string("yes"); });
  both("3D present", [](const edid_t &e) {
    return e.present_3d ? std::string("yes (the mandatory 3D formats)") : std::string("no");
  });
  using Sad = short_audio_desc_t;
  AddKeyedRows<uint32_t, Sad>(
      rows, Elements<Sad>(a.audio_list), Elements<Sad>(b.audio_list),
      [](const Sad &sad) { return sad.format; },
      [](const uint32_t &format) { return std::string("audio ") + short_audio_string(format); },
      AudioValue);
  both("speakers", [](const edid_t &e) { return OrNone(Join(SpeakerNames(e.speaker))); });
  both("deep colour", DeepColour);
  both("max TMDS clock", [](const edid_t &e) {
    return e.max_tmds_clock ? std::to_string(e.max_tmds_clock) + " MHz" : std::string("not given");
  });
  both("latency (V, A, IV, IA)", Latencies);
  return rows;
}

void AddCtaRows(std::vector<CompareRow> &rows, const CtaRecord &a, const CtaRecord &b) {
  if (!a.modern() && !b.modern()) return;
  // Once one side has modern blocks, both sides' fields are shown: a side
  // without them still has its audio formats, speakers and blocks to compare.
  const auto fields = [](const CtaRecord &side) {
    return side.read ? CtaFields(side.info, false) : std::vector<CtaField>{};
  };
  AddKeyedRows<std::string, CtaField>(
      rows, fields(a), fields(b), [](const CtaField &field) { return field.first; },
      [](const std::string &name) { return name; },
      [](const CtaField &field) { return field.second; });
}

std::string CompareText(const std::vector<CompareRow> &rows, const std::string &name_a,
                        const std::string &name_b) {
  constexpr const char *kAbsent = "absent";
  size_t label_width = std::string("Capability").size();
  size_t a_width = 1 + name_a.size();
  for (const CompareRow &row : rows) {
    label_width = std::max(label_width, row.capability.size());
    a_width = std::max(a_width, row.a.value_or(kAbsent).size());
  }
  const auto line = [&](const char *mark, const std::string &label, const std::string &a,
                        const std::string &b) {
    std::string text = std::string(mark) + " " + label;
    text.append(label_width + 2 - label.size(), ' ');
    text += a;
    text.append(a_width + 2 - a.size(), ' ');
    return text + b + "\n";
  };
  std::string text = line(" ", "Capability", "A " + name_a, "B " + name_b);
  size_t counts[std::size(kStatusWords)] = {};
  for (const CompareRow &row : rows) {
    const auto status = static_cast<size_t>(row.Status());
    ++counts[status];
    text += line(kStatusWords[status].mark, row.capability, row.a.value_or(kAbsent),
                 row.b.value_or(kAbsent));
  }
  const auto count = [&](RowStatus status) {
    return std::to_string(counts[static_cast<size_t>(status)]);
  };
  return text + "\n* " + count(RowStatus::kDiffers) + " differ, < " + count(RowStatus::kOnlyA) +
         " only in A, > " + count(RowStatus::kOnlyB) + " only in B\n";
}

Json RowsJson(const std::vector<CompareRow> &rows) {
  Json json_rows = Json::array();
  for (const CompareRow &row : rows)
    json_rows.push_back({{"capability", row.capability},
                         {"a", row.a ? Json(*row.a) : Json(nullptr)},
                         {"b", row.b ? Json(*row.b) : Json(nullptr)},
                         {"status", StatusName(row.Status())}});
  return json_rows;
}

void AddCompareOptions(CLI::App &command, CompareOptions &options) {
  command.add_option("A", options.a, "The first EDID (any form dump reads; - for standard input)")
      ->required()
      ->type_name("FILE");
  command.add_option("B", options.b, "The second EDID")->required()->type_name("FILE");
  command.add_flag("--json", options.json,
                   "Print both records (as dump --json does) and the rows as JSON");
  command.footer(
      "Rows marked * differ, < are only in A, > only in B. Native rate is the refresh rate\n"
      "of the preferred (first detailed) timing.\n"
      "Exit status: 0 both decoded, 1 the library reported a decoding failure, 2 unusable "
      "input.");
}

int RunCompare(const CompareOptions &options) {
  if (options.a == "-" && options.b == "-")
    return Refuse("standard input", "it can be only one of A and B");
  const std::string names[2] = {DisplayName(options.a), DisplayName(options.b)};
  EdidInput inputs[2] = {ReadEdid(options.a), {}};
  if (!inputs[0].error.empty()) return Refuse(names[0], inputs[0].error);
  inputs[1] = ReadEdid(options.b);
  if (!inputs[1].error.empty()) return Refuse(names[1], inputs[1].error);

  DecodedEdid edids[2];
  FILE *diagnostics_stream = options.json ? stderr : stdout;
  bool decoded = true;
  for (int side = 0; side < 2; ++side) {
    std::string diagnostics;
    decoded = edids[side].Decode(inputs[side].bytes, diagnostics) && decoded;
    fputs(diagnostics.c_str(), diagnostics_stream);
  }
  const CtaRecord ctas[2] = {ReadCta(inputs[0].bytes), ReadCta(inputs[1].bytes)};
  if (!decoded) {
    // The decoder refused one side: its lines are above; the modern reader's
    // rows still compare what both sides declare.
    std::vector<CompareRow> cta_rows;
    AddCtaRows(cta_rows, ctas[0], ctas[1]);
    if (!options.json && !cta_rows.empty())
      fputs(CompareText(cta_rows, names[0], names[1]).c_str(), stdout);
    return kExitLibraryFailed;
  }

  std::vector<CompareRow> rows = CompareRows(edids[0].record(), edids[1].record());
  AddCtaRows(rows, ctas[0], ctas[1]);
  if (!options.json) {
    fputs(EscapeControls(CompareText(rows, names[0], names[1])).c_str(), stdout);
    return kExitOk;
  }
  Json document = {{"a", {{"file", names[0]}, {"edid", EdidJson(edids[0].record())}}},
                   {"b", {{"file", names[1]}, {"edid", EdidJson(edids[1].record())}}},
                   {"rows", RowsJson(rows)}};
  for (int side = 0; side < 2; ++side)
    if (ctas[side].modern())
      document[side == 0 ? "a" : "b"]["edid"]["cta"] = CtaJson(ctas[side].info);
  fputs(JsonText(document).c_str(), stdout);
  return kExitOk;
}

}  // namespace edc_tool
