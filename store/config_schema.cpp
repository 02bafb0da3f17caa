#include "config_schema.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <string_view>

namespace edc_store {

const char kSchemaRoot[] = "platform.software.drivers.avcap.edid";

namespace {

constexpr size_t kStandardTimingSlots = 8;  // VESA E-EDID 1.3 base block bytes 0x26..0x35

}  // namespace

const char *TypeName(Type type) {
  switch (type) {
    case Type::kInteger:
      return "integer";
    case Type::kString:
      return "string";
    case Type::kIntegerList:
      return "array of integers";
    case Type::kStringList:
    case Type::kModeList:
    case Type::kTimingList:
    case Type::kWordList:
      break;
  }
  return "array of strings";
}

const std::vector<KeyInfo> &Schema() {
  static const std::vector<KeyInfo> schema = {
      {"manufacturer_id", Type::kString, 3, 3, "three letters A to Z: the EDID's manufacturer"},
      {"product_id", Type::kInteger, 0, 65535, "product code, base block bytes 0x0A-0x0B"},
      {"serial", Type::kInteger, 0, 4294967295, "serial number, base block bytes 0x0C-0x0F"},
      {"week", Type::kInteger, 0, 255,
       "week of manufacture (above 53 read as 53; 255: model year)"},
      {"year", Type::kInteger, 1990, 2100, "year of manufacture"},
      {"monitor_name", Type::kString, 0, 13, "monitor name descriptor, printable ASCII"},
      {"monitor_serial", Type::kString, 0, 13, "serial number descriptor, printable ASCII"},
      {"native_refresh_rate", Type::kInteger, 50, 60, "50 or 60: the family of the video lists"},
      {"current_mode_set_to_priority", Type::kInteger, 0, 1,
       "1: the device's current output mode goes first"},
      {"geometry_limit", Type::kInteger, 0, 1, "1: no format taller than the television's"},
      {"native_bit", Type::kInteger, 0, 1, "1: mark the first format native"},
      {"60_hz_priority_list", Type::kModeList, 1, 64,
       "60 Hz modes the device may offer, in order: \"VIC [FP] [SBSH] [TBH]\""},
      {"60_hz_addition_list", Type::kModeList, 1, 64,
       "60 Hz modes offered whatever the television declares"},
      {"50_hz_priority_list", Type::kModeList, 1, 64,
       "50 Hz modes the device may offer, in order: \"VIC [FP] [SBSH] [TBH]\""},
      {"50_hz_addition_list", Type::kModeList, 1, 64,
       "50 Hz modes offered whatever the television declares"},
      {"4k_x_2k_priority_list", Type::kIntegerList, 1, 4,
       "HDMI 4K x 2K VICs the device may offer, in order"},
      {"4k_x_2k_addition_list", Type::kIntegerList, 1, 4,
       "HDMI 4K x 2K VICs offered whatever the television declares"},
      {"established_timings_1", Type::kIntegerList, 0, 255, "bit numbers of byte 0x23"},
      {"established_timings_2", Type::kIntegerList, 0, 255, "bit numbers of byte 0x24"},
      {"manufacturer_timings", Type::kIntegerList, 0, 255, "bit numbers of byte 0x25"},
      {"standard_timings", Type::kTimingList, 0, 0, "\"WxH@RATE\", at most eight"},
      {"underscan", Type::kInteger, 0, 1, "1: declare underscan"},
      {"is_tv", Type::kInteger, 0, 1, "1: the device is a television"},
      {"dc_30bit", Type::kInteger, 0, 1, "1: offer 30-bit deep colour"},
      {"dc_36bit", Type::kInteger, 0, 1, "1: offer 36-bit deep colour"},
      {"tmds_override", Type::kInteger, 0, 1275, "Max TMDS clock in MHz; 0 to 24: computed"},
      {"supports_ai", Type::kInteger, 0, 2, "0 clear, 1 set, 2 as the television"},
      {"xvYCC601", Type::kInteger, 0, 2, "0 clear, 1 set, 2 as the television"},
      {"xvYCC709", Type::kInteger, 0, 2, "0 clear, 1 set, 2 as the television"},
      {"CNC0", Type::kInteger, 0, 2, "0 clear, 1 set, 2 as the television"},
      {"CNC1", Type::kInteger, 0, 2, "0 clear, 1 set, 2 as the television"},
      {"CNC2", Type::kInteger, 0, 2, "0 clear, 1 set, 2 as the television"},
      {"CNC3", Type::kInteger, 0, 2, "0 clear, 1 set, 2 as the television"},
      {"audio.pass_through", Type::kInteger, 0, 2,
       "0 the device's own formats, 1 then the television's, 2 the television's only"},
      {"speaker_entry", Type::kInteger, 1, 2047, "speaker allocation bits"},
      {"audio.entry_*", Type::kInteger, 0, 0xFFFFFF,
       "a short audio descriptor, three bytes (entry_a to entry_z)"},
      // The modern profile (compose_profile.h): read only when composing with it.
      {"modern.enabled", Type::kInteger, 0, 1,
       "1: compose with the modern profile (HDMI 2.0, HDR)"},
      {"modern.max_tmds_rate", Type::kInteger, 0, 600,
       "the device's TMDS character rate in MHz (above 340 only with SCDC)"},
      {"modern.scdc", Type::kInteger, 0, 1, "1: the device's receiver has SCDC"},
      {"modern.ycbcr420", Type::kInteger, 0, 1, "1: the device carries YCbCr 4:2:0"},
      {"modern.dc_30bit_420", Type::kInteger, 0, 1, "1: 30-bit deep colour in YCbCr 4:2:0"},
      {"modern.dc_36bit_420", Type::kInteger, 0, 1, "1: 36-bit deep colour in YCbCr 4:2:0"},
      {"modern.dc_48bit_420", Type::kInteger, 0, 1, "1: 48-bit deep colour in YCbCr 4:2:0"},
      {"modern.vic_priority_list", Type::kIntegerList, 65, 219,
       "CTA-861 VICs the device carries, in order; at most 32"},
      {"modern.hdr_eotfs", Type::kWordList, 0, 0, "HDR transfer functions the device carries",
       "SDR PQ HLG"},
      {"modern.hdr_static_metadata_type1", Type::kInteger, 0, 1,
       "1: the device takes static metadata type 1"},
      {"modern.colorimetry", Type::kWordList, 0, 0, "colorimetries the device carries",
       "xvYCC601 xvYCC709 sYCC601 opYCC601 opRGB BT2020cYCC BT2020YCC BT2020RGB ICtCp ST2113RGB"},
      {"modern.vendor_hdr", Type::kInteger, 0, 1,
       "1: pass the television's Dolby Vision and HDR10+ blocks"},
      {"modern.rgb_quantization_selectable", Type::kInteger, 0, 1,
       "1: declare the RGB quantization range selectable"},
  };
  return schema;
}

namespace {

const KeyInfo *Find(const std::string &name) {
  for (const KeyInfo &key : Schema()) {
    const std::string_view pattern = key.name;
    if (pattern.ends_with('*')) {
      const std::string_view prefix = pattern.substr(0, pattern.size() - 1);
      if (name.size() == prefix.size() + 1 && name.starts_with(prefix) && name.back() >= 'a' &&
          name.back() <= 'z')
        return &key;
    } else if (name == pattern) {
      return &key;
    }
  }
  return nullptr;
}

size_t EditDistance(const std::string &a, const std::string &b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t up = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1,
                         diagonal + (std::tolower(a[i - 1]) == std::tolower(b[j - 1]) ? 0 : 1)});
      diagonal = up;
    }
  }
  return row[b.size()];
}

// The known path nearest to path (the whole dotted path is compared, so a
// misspelled section finds its keys too).
std::string Nearest(const std::string &path) {
  std::string best;
  size_t best_distance = SIZE_MAX;
  const auto consider = [&](const std::string &candidate) {
    const size_t distance = EditDistance(path, candidate);
    if (distance < best_distance) best_distance = distance, best = candidate;
  };
  const std::string root(kSchemaRoot);
  for (size_t dot = 0; (dot = root.find('.', dot + 1)) != std::string::npos;)
    consider(root.substr(0, dot));
  consider(root);
  for (const KeyInfo &key : Schema()) {
    std::string name = key.name;
    if (name.ends_with('*')) name.back() = 'a';
    consider(root + "." + name);
  }
  return best;
}

std::string TypeText(const KeyInfo &key) {
  const std::string name = TypeName(key.type);
  const std::string article = name.starts_with("a") || name.starts_with("i") ? "an " : "a ";
  if (key.type != Type::kInteger) return article + name;
  return article + name + " from " + std::to_string(key.min) + " to " + std::to_string(key.max);
}

const char *KindText(Kind kind) {
  switch (kind) {
    case Kind::kTable:
      return "a table";
    case Kind::kArray:
      return "an array";
    case Kind::kInteger:
      return "an integer";
    case Kind::kString:
      return "a string";
    case Kind::kOther:
      break;
  }
  return "a value of another type";
}

std::vector<uint32_t> Numbers(const std::string &text) {
  std::vector<uint32_t> numbers;
  for (size_t i = 0; i < text.size();) {
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) {
      ++i;
      continue;
    }
    uint32_t value = 0;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i)
      value = value > 100000000 ? value : value * 10 + static_cast<uint32_t>(text[i] - '0');
    numbers.push_back(value);
  }
  return numbers;
}

// How the library reads a standard timing: its first four numbers, the
// fourth (a fraction) rounding the rate up.
std::string TimingTaken(const std::string &text) {
  std::vector<uint32_t> n = Numbers(text);
  n.resize(std::max<size_t>(n.size(), 4), 0);
  return std::to_string(n[0]) + "x" + std::to_string(n[1]) + "@" +
         std::to_string(n[2] + (n[3] != 0 ? 1 : 0));
}

// How the library reads a video list entry: a leading number, then up to
// three blank-separated words.
std::string ModeTaken(const std::string &text) {
  size_t i = text.find_first_not_of(" \t");
  if (i == std::string::npos) return "";
  std::string taken;
  if (text[i] == '+' || text[i] == '-') taken += text[i] == '-' ? "-" : "", ++i;
  const size_t digits = i;
  while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) taken += text[i++];
  if (i == digits) return "";
  for (int words = 0; words < 3; ++words) {
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    if (i == text.size()) break;
    taken += ' ';
    while (i < text.size() && text[i] != ' ' && text[i] != '\t') taken += text[i++];
  }
  return taken;
}

std::string Quoted(const std::string &text) {
  return "\"" + text + "\"";
}

std::vector<std::string> Words(const KeyInfo &key) {
  std::vector<std::string> words;
  std::string word;
  for (const char *c = key.words != nullptr ? key.words : "";; ++c) {
    if (*c != ' ' && *c != '\0') {
      word += *c;
      continue;
    }
    if (!word.empty()) words.push_back(word);
    word.clear();
    if (*c == '\0') return words;
  }
}

bool SameWord(const std::string &a, const std::string &b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

// "SDR, PQ or HLG".
std::string WordsText(const KeyInfo &key) {
  const std::vector<std::string> words = Words(key);
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i != 0) text += i + 1 == words.size() ? " or " : ", ";
    text += words[i];
  }
  return text;
}

// A table whose name begins keys of the schema ("audio", "modern").
bool IsSection(const std::string &name) {
  return std::any_of(Schema().begin(), Schema().end(), [&](const KeyInfo &key) {
    return std::string_view(key.name).starts_with(name + ".");
  });
}

struct Checker {
  std::vector<std::string> findings;

  void add(const Entry &at, const std::string &what) {
    findings.push_back(std::to_string(at.line) + ":" + std::to_string(at.column) +
                       ": warning: " + what);
  }

  void element(const KeyInfo &key, const Entry &list, const Entry &e, size_t index) {
    const std::string where = std::string(key.name) + "[" + std::to_string(index) + "]";
    const bool wants_integer = key.type == Type::kIntegerList;
    if (e.kind != (wants_integer ? Kind::kInteger : Kind::kString)) {
      add(e, where + " is " + KindText(e.kind) + "; the library reads " +
                 (wants_integer ? "an integer" : "a string") + " and skips it");
      return;
    }
    if (wants_integer && (e.integer < key.min || e.integer > key.max)) {
      add(e, where + " = " + std::to_string(e.integer) + " is out of range (" +
                 std::to_string(key.min) + " to " + std::to_string(key.max) + ")");
    } else if (key.type == Type::kTimingList) {
      const std::string taken = TimingTaken(e.text);
      if (taken != e.text) add(e, where + " " + Quoted(e.text) + " is read loosely as " + taken);
      if (index == kStandardTimingSlots)
        add(e, std::string(key.name) + " holds " + std::to_string(list.children) +
                   " timings; the base block has room for 8 and the rest are dropped");
    } else if (key.type == Type::kWordList) {
      const std::vector<std::string> words = Words(key);
      if (std::none_of(words.begin(), words.end(),
                       [&](const std::string &word) { return SameWord(word, e.text); }))
        add(e,
            where + " " + Quoted(e.text) + " is not " + WordsText(key) + "; the library skips it");
    } else if (key.type == Type::kModeList) {
      const std::string taken = ModeTaken(e.text);
      if (taken.empty())
        add(e, where + " " + Quoted(e.text) + " has no VIC; the library skips it");
      else if (taken != e.text)
        add(e, where + " " + Quoted(e.text) + " is read loosely as " + Quoted(taken));
    }
  }

  void value(const KeyInfo &key, const std::string &name, const Entry &e) {
    const bool list = key.type != Type::kInteger && key.type != Type::kString;
    const Kind wanted = list                         ? Kind::kArray
                        : key.type == Type::kInteger ? Kind::kInteger
                                                     : Kind::kString;
    if (e.kind != wanted) {
      add(e, name + " is " + KindText(e.kind) + "; the library reads " + TypeText(key) +
                 " and ignores it");
      return;
    }
    if (key.type == Type::kInteger && (e.integer < key.min || e.integer > key.max)) {
      add(e, name + " = " + std::to_string(e.integer) + " is out of range (" +
                 std::to_string(key.min) + " to " + std::to_string(key.max) + ")");
    } else if (key.type == Type::kString) {
      if (static_cast<int64_t>(e.text.size()) > key.max)
        add(e, name + " holds " + std::to_string(e.text.size()) + " characters; only " +
                   std::to_string(key.max) + " fit");
      if (std::any_of(e.text.begin(), e.text.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }))
        add(e, name + " holds control characters; they go into the EDID as they are");
    }
  }
};

}  // namespace

std::vector<std::string> SchemaFindings(const std::vector<Entry> &entries) {
  Checker checker;
  const std::string root(kSchemaRoot), prefix = root + ".";
  if (std::none_of(entries.begin(), entries.end(),
                   [](const Entry &e) { return e.path == "platform"; }))
    return {};
  std::map<std::string, const Entry *> by_path;
  std::map<std::string, int> times;
  for (const Entry &e : entries) by_path[e.path] = &e, ++times[e.path];
  std::vector<std::string> unknown_tables;
  for (const Entry &e : entries) {
    if (e.path.empty() || root.starts_with(e.path + ".") || e.path == root) continue;
    if (std::any_of(unknown_tables.begin(), unknown_tables.end(),
                    [&](const std::string &t) { return e.path.starts_with(t + "."); }))
      continue;
    if (e.key.find('.') != std::string::npos)
      checker.add(e, "the quoted key " + Quoted(e.key) + " reads as the path " + e.path +
                         (times[e.path] > 1 ? ", which is given elsewhere too" : ""));
    if (!e.path.starts_with(prefix)) {
      checker.add(e, "unknown key " + e.path + "; did you mean " + Nearest(e.path) + "?");
      if (e.kind == Kind::kTable) unknown_tables.push_back(e.path);
      continue;
    }
    const std::string name = e.path.substr(prefix.size());
    if (const KeyInfo *key = Find(name)) {
      checker.value(*key, name, e);
      continue;
    }
    // An element of a list, or the audio table.
    const size_t dot = name.rfind('.');
    const KeyInfo *list = dot == std::string::npos ? nullptr : Find(name.substr(0, dot));
    if (list != nullptr) {
      const auto parent_at = by_path.find(e.path.substr(0, prefix.size() + dot));
      if (parent_at == by_path.end()) continue;
      const Entry &parent = *parent_at->second;
      if (parent.kind == Kind::kArray && list->type != Type::kInteger &&
          list->type != Type::kString)
        checker.element(*list, parent, e, static_cast<size_t>(std::atol(e.key.c_str())));
      continue;  // below a value of the wrong type: reported there
    }
    if (e.kind == Kind::kTable && IsSection(name)) continue;
    const std::string nearest = Nearest(e.path);
    checker.add(
        e, "unknown key " + Quoted(name) + "; did you mean " +
               Quoted(nearest.starts_with(prefix) ? nearest.substr(prefix.size()) : nearest) + "?");
    if (e.kind == Kind::kTable) unknown_tables.push_back(e.path);
  }
  return checker.findings;
}

}  // namespace edc_store
