// Platform values and lists: the entry grammars (tests/data/platform_entries.tsv),
// ranges and corrections (tests/data/platform_values.tsv), the list walker
// (tests/golden/platform_lists.txt), and whole configurations read into the
// record: an empty one and the samples in examples/ (tests/golden/platform_*.txt).
#include "config_store.h"
#include "edc_test.h"
#include "edid_composer_internal.h"
#include "typed_list.h"

using namespace edc_test;  // NOLINT: the test helpers throughout

namespace {

const std::string kRoot = "platform.software.drivers.avcap.edid.";

// The entries of a list: "vic 0xstereo", "width aspect rate" or the audio numbers in hex.
std::string Entries(ll_list_t *list) {
  std::string out;
  for (const uint32_t *u : edc::elements<uint32_t>(list)) {
    out += out.empty() ? "" : ", ";
    if (ll_verify_list_type(list, "int"))
      out += Format("0x%06X", u[0]);
    else if (ll_verify_list_type(list, "std_timing_t"))
      out += Format("%u %u %u", u[0], u[1], u[2]);
    else
      out += Format("%u 0x%02X", u[1], u[2]);  // after the native byte
  }
  return out;
}

// Every field of the record, one "name=value" line each.
std::string Dump(platform_values_t &v) {
  std::ostringstream o;
// clang-format off
#define F(field) o << #field "=" << v.field << "\n";
#define A(field) o << #field "="; for (int i = 0; i < 7; ++i) o << v.field[i] << (i < 6 ? " " : "\n");
#define L(list) o << #list "=" << Entries(&v.list) << "\n";
  F(native_refresh_rate) F(current_mode_set_to_priority) F(geometry_limit) F(audio_pass_through)
  F(underscan) F(is_tv) F(dc_30bit) F(dc_36bit) F(tmds_override) F(supports_ai) F(speaker_entry)
  F(xvycc601) F(xvycc709) F(native_bit) F(product_id) F(serial) F(week) F(year) F(cnc0) F(cnc1)
  F(cnc2) F(cnc3) F(manufacturer_id) F(monitor_name) F(monitor_serial) F(established_timings_1)
  F(established_timings_2) F(manufacturer_timings) A(priority_4k_x_2k) A(addition_4k_x_2k)
  L(audio_list) L(video_50_priority) L(video_50_additional) L(video_60_priority)
  L(video_60_additional) L(std_timings);
#undef F
#undef A
#undef L
  // clang-format on
  return o.str();
}

// The record read from the configuration loaded now: the messages, then the fields.
std::string ReadRecord() {
  PreparedPlatform p;
  bool result = false;
  std::string out;
  for (const auto &line : Lines([&] { result = _read_platform_values(&p.values); }))
    out += line + "\n";
  return out + "result=" + std::to_string(result) + "\n" + Dump(p.values);
}

TEST(PlatformValues, EmptyAndSampleConfigurationsReadAsDocumented) {
  std::string out = "# == configuration, its messages, then the record\n== empty\n";
  out += ReadRecord();
  for (const char *name : {"platform.toml", "platform-minimal.toml"}) {
    ASSERT_EQ(config_store_load_file((std::string(EDC_EXAMPLES_DIR) + "/" + name).c_str()), 0);
    out += "== " + std::string(name) + "\n" + ReadRecord();
    config_store_clear();
  }
  ExpectGolden("platform_records.txt", out);
}

TEST(PlatformValues, NumbersAreClampedAndCorrected) {
  for (const auto &row : ReadRows("platform_values.tsv")) {
    ScopedConfig config("[platform.software.drivers.avcap.edid]\n" + row[0] + " = " + row[1] +
                        "\n");
    const std::string record = ReadRecord();
    std::string messages;
    for (const auto &line : SplitLines(record))
      if (line.find(kRoot + row[0] + " ") != std::string::npos ||
          line.find(kRoot + row[0] + "\"") != std::string::npos)
        messages += line;
    EXPECT_NE(record.find("\n" + row[2] + "\n"), std::string::npos) << row[0] << " " << row[1];
    EXPECT_EQ(messages, row[3]) << row[0] << " = " << row[1];
  }
}

TEST(PlatformValues, AudioEntriesInLetterOrderUntilOneCannotBeStored) {
  ScopedConfig config(ReadText("configurations.txt", "audio entries"));
  EXPECT_NE(ReadRecord().find("\naudio_list=0x000005, 0x500715, 0xFFFFFF\n"), std::string::npos);
  platform_values_t v{};  // lists never initialised: the first entry cannot be added
  const auto lines = Lines([&] { EXPECT_FALSE(_read_platform_values(&v)); });
  EXPECT_EQ(lines.back(),
            "_read_platform_values() ERROR: Failed adding entry to the back of the list.");
  EXPECT_EQ(v.year + v.manufacturer_id[0], 2020u);  // read before the entries; nothing after
}

TEST(PlatformValues, DestroyStopsAtTheFirstListItCannotRemove) {
  const char *names[] = {"audio_list",        "video_50_priority",   "video_50_additional",
                         "video_60_priority", "video_60_additional", "values standard timings"};
  ll_list_t platform_values_t::*const lists[] = {
      &platform_values_t::audio_list,          &platform_values_t::video_50_priority,
      &platform_values_t::video_50_additional, &platform_values_t::video_60_priority,
      &platform_values_t::video_60_additional, &platform_values_t::std_timings};
  for (int broken = 0; broken < 6; ++broken) {
    platform_values_t v;
    memset(&v, 0xA5, sizeof v);
    ASSERT_TRUE(platform_values_init(&v));
    ll_delete_list(&(v.*lists[broken]));
    const auto lines = Lines([&] { EXPECT_FALSE(platform_values_destroy(&v)); });
    EXPECT_EQ(
        lines.back(),
        std::string("platform_values_destroy() BUG: Failed removing platform ") + names[broken]);
    for (int later = broken + 1; later < 6; ++later)
      EXPECT_EQ(ll_delete_list(&(v.*lists[later])), 1);  // left as they were
  }
}

TEST(PlatformLists, EntryGrammarsGiveTheirEntryOrTheirWarnings) {
  const auto rows = ReadRows("platform_entries.tsv");
  ASSERT_EQ(rows.size(), 26u);
  for (const auto &row : rows) {
    const bool is_std = row[0] == "std";
    ll_list_t list{};
    ll_init(&list, is_std ? "std_timing_t" : "short_video_desc_t");
    ll_list_t *user = &list;
    char text[30] = {};
    memcpy(text, row[1].data(), row[1].size());
    const auto callback = is_std ? _get_std_timing_callback : _get_vic_list_callback;
    const auto lines = Lines([&] { callback("7", "list", -1, text, 30, &user); });
    std::vector<std::string> expected;  // a message ending in a line feed is followed by ""
    for (size_t i = 3; i < row.size(); ++i) {
      const bool feed = row[i].ends_with("\\n");
      expected.push_back(row[i].substr(0, row[i].size() - (feed ? 2 : 0)));
      if (feed) expected.push_back("");
    }
    EXPECT_EQ(Entries(&list), row[2] == "-" ? "" : row[2]) << row[1];
    EXPECT_EQ(lines, expected) << row[1];
    ll_delete_list(&list);
  }
}

// Each walk as "<child>=<integer>|<text>|<size>".
bool Record(const char *child, const char *, int32_t value, char *text, uint32_t size, void *user) {
  *static_cast<std::string *>(user) += std::string(child) + "=" + std::to_string(value) + "|" +
                                       text + "|" + std::to_string(size) + "\n";
  return true;
}

TEST(PlatformLists, WalkerReportsBadListsAndEntriesButNeverFails) {
  ScopedConfig config(ReadText("configurations.txt", "lists of every kind"));
  std::string out = "# == what is walked, the lines printed (debug on), then what was read\n";
  const auto run = [&](const std::string &what, const std::function<std::string()> &fn) {
    std::string result;
    out += "== " + what + "\n";
    for (const auto &line : Lines([&] { result = fn(); })) out += line + "\n";
    out += result;
  };
  DebugOn debug;
  const struct {
    const char *name, *label;
    bool is_int;
    platform_list_callback_t callback;
  } walks[] = {{"arr", "arr as strings", false, Record},  {"tab", "tab as integers", true, Record},
               {nullptr, "NULL name", true, Record},      {"", "empty name", true, Record},
               {"empty", "NULL callback", true, nullptr}, {"gone", "missing list", true, Record},
               {"empty", "empty list", true, Record}};
  for (const auto &w : walks)
    run(w.label, [&] {
      std::string visits;
      const bool result = _get_generic_platform_list(w.name, w.is_int, &visits, w.callback);
      return visits + "-> " + std::to_string(result) + "\n";
    });
  for (auto callback : {_get_vic_list_callback, _get_4k_x_2k_mode_callback,
                        _get_est_timing_callback, _get_std_timing_callback})
    run("a callback without a target", [&] {
      char text[30] = "16";
      callback("0", "l", 1, text, 30, nullptr);
      return std::string();
    });
  uint32_t modes[8] = {0, 0, 0, 0, 0, 0, 0, 0xDEAD};  // the eighth is not the list's
  for (const char *list : {"k", "long"})              // each list from the first slot
    run(std::string("4Kx2K list ") + list, [&] {
      _get_4k_x_2k_modes(list, modes);
      std::string text = "modes:";
      for (uint32_t m : modes) text += " " + std::to_string(m);
      return text + "\n";
    });
  uint32_t mask = 0x10;
  run("timing bits t, into 0x10", [&] {
    _get_est_timing_list("t", &mask);
    print_platform_node(0, "x");
    return "mask: " + std::to_string(mask) + "\n";
  });
  ll_list_t list{};
  ll_init(&list, "short_video_desc_t");
  for (uint32_t type = 0; type < 5; ++type)
    run("video list type " + std::to_string(type),
        [&] { return "-> " + std::to_string(_get_platform_list(type, &list)) + "\n"; });
  ll_delete_list(&list);
  ll_init(&list, "std_timing_t");
  run("standard timings, a short value after a long one", [&] {
    _get_std_timing_list(&list);
    return "entries: " + Entries(&list) + "\n";
  });
  ll_delete_list(&list);
  ExpectGolden("platform_lists.txt", out);
}

}  // namespace
