#include "edc_test.h"

namespace edc_test {

namespace {

// Splits at tabs; a line without them into its first word and the rest.
Line Split(const std::string &text) {
  static const std::regex key_value(R"(([^\t ]+) +([^\t]*))");
  Line line{text, {}};
  std::smatch m;
  std::istringstream in(text);
  if (std::regex_match(text, m, key_value))
    line.fields = {m[1], m[2]};
  else
    for (std::string field; std::getline(in, field, '\t');) line.fields.push_back(field);
  return line;
}

// Applies a line that builds bytes to the last scenario; false for any other line.
bool BuildBytes(const Line &line, std::vector<Scenario> &all) {
  Scenario &s = all.back();
  const std::string &key = line[0];
  const auto set = [&](size_t at, uint8_t value) {
    s.bytes.resize(std::max(s.bytes.size(), at + 1));
    s.given.resize(s.bytes.size());
    s.bytes[at] = value;
    s.given[at] = true;
  };
  if (key.size() > 1 && key.find_first_not_of("0123456789abcdefABCDEF") == key.size() - 1 &&
      key.back() == ':') {
    std::istringstream in(line[1]);
    size_t at = std::stoul(key, nullptr, 16);
    for (std::string hex; in >> hex;) set(at++, static_cast<uint8_t>(std::stoul(hex, nullptr, 16)));
  } else if (key == "sum") {
    const size_t at = std::stoul(line[1], nullptr, 16);
    set(at + 127, 0);
    s.bytes[at + 127] = static_cast<uint8_t>(-std::accumulate(&s.bytes[at], &s.bytes[at + 127], 0));
  } else if (key == "from") {
    const auto from = std::find_if(all.rbegin() + 1, all.rend(),
                                   [&](const Scenario &o) { return o.title == line[1]; });
    if (from == all.rend()) ADD_FAILURE() << "no scenario before is titled " << line[1];
    if (from != all.rend()) s.bytes = from->bytes, s.given = from->given;
  } else {
    return false;
  }
  return true;
}

}  // namespace

bool Scenario::Has(const std::string &key) const {
  return std::any_of(lines.begin(), lines.end(), [&](const Line &l) { return l[0] == key; });
}

std::string Scenario::Value(const std::string &key) const {
  const auto line =
      std::find_if(lines.rbegin(), lines.rend(), [&](const Line &l) { return l[0] == key; });
  return line != lines.rend() ? (*line)[1] : "";
}

std::vector<std::string> Scenario::Values(const std::string &key) const {
  std::vector<std::string> values;
  for (const Line &line : lines)
    if (line[0] == key) values.push_back(line[1]);
  return values;
}

std::vector<std::string> Scenario::Expected(const std::string &key, const void *pointer) const {
  std::vector<std::string> expected = Values(key);
  for (std::string &line : expected) line = ExpectedLine(line, pointer);
  return expected;
}

std::vector<Scenario> ReadScenarios(const std::string &name) {
  const std::string path = std::string(EDC_TESTS_DIR) + "/data/" + name;
  std::ifstream in(path);
  EXPECT_TRUE(in.good()) << "missing " << path;
  static const std::regex comment(R"((^#|\s+#(\s|$)).*|\s+$)");  // and blanks at the end
  std::vector<Scenario> all(1);
  for (std::string text; std::getline(in, text);) {
    text = std::regex_replace(text, comment, "");
    if (text.starts_with("== "))
      all.emplace_back().title = text.substr(3);
    else if (const Line line = Split(text); !text.empty() && !BuildBytes(line, all))
      all.back().lines.push_back(line);
  }
  if (all.size() > 1 && all[0].lines.empty() && all[0].bytes.empty()) all.erase(all.begin());
  return all;
}

std::vector<Scenario> ReadCases(const std::string &name) {
  std::vector<Scenario> all = ReadScenarios(name);
  for (size_t i = 1; !all.empty() && all[0].title.empty() && i < all.size(); ++i)
    for (auto line = all[0].lines.rbegin(); line != all[0].lines.rend(); ++line)
      if (!all[i].Has((*line)[0])) all[i].lines.insert(all[i].lines.begin(), *line);
  if (!all.empty() && all[0].title.empty()) all.erase(all.begin());
  return all;
}

std::vector<Line> ReadTable(const std::string &name, const std::string &title) {
  for (Scenario &s : ReadScenarios(name))
    if (s.title == title) {
      for (Line &row : s.lines)
        for (std::string &field : row.fields) field = field == "-" ? "" : field;
      return s.lines;
    }
  ADD_FAILURE() << "no table " << title << " in " << name;
  return {};
}

std::string ReadText(const std::string &name, const std::string &title) {
  std::string text;
  for (const Line &line : ReadTable(name, title)) text += line.text + "\n";
  return text;
}

std::vector<Line> ReadRows(const std::string &name) {
  return ReadScenarios(name).front().lines;
}

}  // namespace edc_test
