// Stand-alone configuration database: how TOML maps onto paths and nodes
// (the walk of a sample document is tests/golden/config_store_tree.txt), the
// result codes, and bad input.
#include "config_store.h"

#include "edc_test.h"

using testing::MatchesRegex;

using namespace edc_test;  // NOLINT: the test helpers throughout

namespace {

class ConfigStore : public testing::Test {
 protected:
  void TearDown() override { config_store_clear(); }

  // Loads bad text; returns what the store wrote to standard error.
  static std::string LoadFails(const std::string &text) {
    int32_t result = 0;
    const std::string err =
        Capture([&] { result = config_store_load_string(text.c_str()); }, stderr);
    EXPECT_NE(result, 0) << text;
    return err;
  }
};

// One line per node, depth first: its path (from its parent's path and its
// own name), then what each reader gives ("-" for a failed read) and
// "children", or what config_node_first_child answered.
void Walk(uint32_t node, const std::string &parent, std::string &out) {
  char name[64] = {}, text[64] = {};
  int32_t value = 0;
  config_node_get_name(node, name, sizeof name);
  const std::string path = parent.empty() ? name : parent + "." + name;
  const bool has_int = config_node_get_int(node, &value) == 0;
  const bool has_str = config_node_get_str(node, text, sizeof text) == 0;
  uint32_t child = 0;
  const int32_t first = config_node_first_child(node, &child);
  out += (path.empty() ? "(root)" : path) + ": int=" + (has_int ? std::to_string(value) : "-") +
         " str=" + (has_str ? "\"" + std::string(text) + "\"" : "-") +
         (first == 0 ? " children" : " first_child=" + std::to_string(first)) + "\n";
  if (first != 0) return;
  do Walk(child, path, out);
  while (config_node_next_sibling(child, &child) == 0);
}

TEST_F(ConfigStore, MapsTablesArraysAndValuesOntoDottedPaths) {
  const std::string sample = ReadText("configurations.txt", "every kind of value");
  ASSERT_EQ(config_store_load_string(sample.c_str()), 0);
  uint32_t root = 0;
  ASSERT_EQ(config_node_find(0, "", &root), 0);
  std::string tree;
  Walk(root, "", tree);
  ExpectGolden("config_store_tree.txt", tree);

  int32_t value = 0;
  EXPECT_EQ(config_get_int(0, "platform.software.drivers.avcap.edid.audio.entry_a", &value), 0);
  EXPECT_EQ(value, 0x070709);
  char text[8];
  EXPECT_EQ(config_get_str(0, "other.long", text, 5), 0);  // a shortened read still succeeds
  EXPECT_STREQ(text, "Livi");
  EXPECT_EQ(config_get_str(0, "other.long", text, 0), 1);
  EXPECT_EQ(config_get_str(0, "other.float", text, sizeof text), 1);
}

TEST_F(ConfigStore, ResultCodesForMissingNodesAndBadArguments) {
  ASSERT_EQ(config_store_load_string("a = 1\n"), 0);
  uint32_t node = 0;
  int32_t value = 0;
  char text[8];
  EXPECT_EQ(config_node_find(0, "b", &node), 2);
  EXPECT_EQ(config_node_find(1, "a", &node), 1);  // handle 0 is the only database
  EXPECT_EQ(config_node_find(0, nullptr, &node), 1);
  EXPECT_EQ(config_node_find(0, "a", nullptr), 1);
  EXPECT_EQ(config_get_int(3, "a", &value), 1);
  EXPECT_EQ(config_get_int(0, "a", nullptr), 1);
  EXPECT_EQ(config_get_str(0, nullptr, text, sizeof text), 1);
  for (uint32_t bad : {0u, 999u}) {
    EXPECT_EQ(config_node_first_child(bad, &node), 1);
    EXPECT_EQ(config_node_next_sibling(bad, &node), 1);
    EXPECT_EQ(config_node_get_name(bad, text, sizeof text), 1);
    EXPECT_EQ(config_node_get_int(bad, &value), 1);
    EXPECT_EQ(config_node_get_str(bad, text, sizeof text), 1);
  }
  ASSERT_EQ(config_store_load_string("b = 2\n"), 0);  // a load replaces everything
  EXPECT_EQ(config_node_find(0, "a", &node), 2);
  config_store_clear();
  EXPECT_EQ(config_node_find(0, "b", &node), 2);
}

TEST_F(ConfigStore, BadInputNamesTheSpotAndKeepsThePreviousDatabase) {
  ASSERT_EQ(config_store_load_string("[edid]\nweek = 12\nlist = [1, 2]\n"), 0);
  uint32_t list = 0, first = 0;
  ASSERT_EQ(config_node_find(0, "edid.list", &list), 0);
  ASSERT_EQ(config_node_first_child(list, &first), 0);

  const std::pair<const char *, const char *> cases[] = {
      {"a = \"unterminated\n", "<string>:1:[0-9]+: .+\n"},
      {"a = 1\nb = 2\na = 3\n", "<string>:3:[0-9]+: .+\n"},  // duplicate key
      {"x = 1\n\n  y = -2147483649\n", "<string>:3:7: integer -2147483649 is out of range .+\n"},
      {"x = 4294967296\n", "<string>:1:5: integer 4294967296 is out of range .+\n"},
      {"[t]\nv = [1, 99999999999]\n", "<string>:2:9: .+\n"},
      {"= 1\n", "<string>:1:[0-9]+: .+\n"},
      // toml++ 3.3.0 once met undefined behaviour on these (see config_store.cpp).
      {"g\xef\xbb\x87", "<string>:1:[0-9]+: .+\n"},
      {"a = 1 \xc2\xa1\n", "<string>:1:[0-9]+: .+\n"},
      {"[+!0", "<string>:1:[0-9]+: .+\n"},
  };
  for (const auto &[text, error] : cases) EXPECT_THAT(LoadFails(text), MatchesRegex(error)) << text;

  int32_t value = 0;
  EXPECT_EQ(config_get_int(0, "edid.week", &value), 0);
  EXPECT_EQ(value, 12);
  EXPECT_EQ(config_node_get_int(first, &value), 0);  // old handles stay valid
  EXPECT_EQ(value, 1);
}

TEST_F(ConfigStore, FilesLoadByPathAndAMissingFileIsAClearError) {
  char path[] = "/tmp/edc_store_test_XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  const std::string bad = "[p]\nq = 5\nbad = [\n";
  ASSERT_EQ(write(fd, bad.data(), bad.size()), static_cast<ssize_t>(bad.size()));
  close(fd);
  const std::string err = Capture([&] { EXPECT_NE(config_store_load_file(path), 0); }, stderr);
  EXPECT_THAT(err, MatchesRegex(std::string(path) + ":3:[0-9]+: .+\n"));
  FILE *file = fopen(path, "w");
  fputs("[p]\nq = 5\n", file);
  fclose(file);
  EXPECT_EQ(config_store_load_file(path), 0);
  unlink(path);
  EXPECT_EQ(Capture([] { EXPECT_NE(config_store_load_file("/nonexistent/edid.toml"), 0); }, stderr),
            "/nonexistent/edid.toml:0:0: cannot open file: No such file or directory\n");
  int32_t value = 0;
  EXPECT_EQ(config_get_int(0, "p.q", &value), 0);  // still loaded
  EXPECT_EQ(value, 5);
}

}  // namespace
