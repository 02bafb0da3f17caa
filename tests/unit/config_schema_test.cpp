// The schema of the configuration keys, held together with what documents
// them: the README's key reference lists exactly the schema's keys with
// their type and range, examples/platform.toml sets every one of them (the
// modern profile's commented out; its two examples set those), and
// check-config finds nothing to say about any of the three.
#include "config_schema.h"

#include <fstream>
#include <iterator>
#include <sstream>

#include "edc_test.h"

using namespace edc_test;  // NOLINT: capture and tool helpers throughout

namespace {

using edc_store::KeyInfo;
using edc_store::Type;

std::string RangeColumn(const KeyInfo &key) {
  const std::string from_to = std::to_string(key.min) + " to " + std::to_string(key.max);
  switch (key.type) {
    case Type::kInteger:
      return from_to;
    case Type::kString:
      return key.min == key.max ? std::to_string(key.max) + " characters"
                                : "up to " + std::to_string(key.max) + " characters";
    case Type::kIntegerList:
    case Type::kModeList:
      return "each " + from_to;
    case Type::kStringList:
    case Type::kTimingList:
      return "at most 8 used";
    case Type::kWordList: {
      std::istringstream words(key.words);
      std::vector<std::string> list{std::istream_iterator<std::string>(words), {}};
      std::string column = "each ";
      for (size_t i = 0; i < list.size(); ++i)
        column += (i == 0 ? "" : i + 1 == list.size() ? " or " : ", ") + list[i];
      return column;
    }
  }
  return "";
}

std::string FileText(const std::string &path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(ConfigSchema, ReadmeReferenceAndExampleAgreeWithTheSchema) {
  std::string expected;
  for (const KeyInfo &key : edc_store::Schema())
    expected += "| `" + std::string(key.name) + "` | " + edc_store::TypeName(key.type) + " | " +
                RangeColumn(key) + " | " + key.meaning + " |\n";
  const std::string readme = FileText(EDC_EXAMPLES_DIR "/../README.md");
  const std::string begin = "|---|---|---|---|\n";
  const size_t heading = readme.find("| Key | Type | Range | Meaning |\n");
  ASSERT_NE(heading, std::string::npos) << "no key reference in README.md";
  const size_t rows = readme.find(begin, heading) + begin.size();
  const size_t end = readme.find("\n\n", rows);
  EXPECT_EQ(readme.substr(rows, end + 1 - rows), expected) << "README.md's key reference";

  // The modern profile's keys are there commented out: the example's
  // composition is the default one. The profile's own examples set them.
  const std::string example = FileText(EDC_EXAMPLES_DIR "/platform.toml");
  const std::string modern[] = {FileText(EDC_EXAMPLES_DIR "/modern-4k60-hdr.toml"),
                                FileText(EDC_EXAMPLES_DIR "/modern-4k30-300.toml")};
  for (const KeyInfo &key : edc_store::Schema()) {
    std::string name = key.name;
    if (name.ends_with('*')) name.back() = 'a';
    if (!name.starts_with("modern.")) {
      EXPECT_NE(example.find("\n" + name + " = "), std::string::npos)
          << name << " is not set in examples/platform.toml";
      continue;
    }
    EXPECT_EQ(example.find("\n" + name + " = "), std::string::npos)
        << name << " is set in examples/platform.toml";
    EXPECT_NE(example.find("\n# " + name + " = "), std::string::npos)
        << name << " is not shown in examples/platform.toml";
    for (const std::string &text : modern)
      EXPECT_NE(text.find("\n" + name + " = "), std::string::npos)
          << name << " is not set in a modern-*.toml example";
  }
  for (const char *file : {"platform.toml", "modern-4k60-hdr.toml", "modern-4k30-300.toml"}) {
    const auto checked = RunTool(std::string("check-config " EDC_EXAMPLES_DIR "/") + file);
    EXPECT_EQ(checked.status, 0) << file;
    EXPECT_EQ(checked.err, "") << file;
  }
}

}  // namespace
