// Stand-alone configuration database: how TOML maps onto paths and nodes, the
// result codes, and the handling of bad input.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "capture.h"
#include "config_store.h"

using edc_test::CaptureStderr;
using testing::MatchesRegex;

namespace {

class ConfigStore : public testing::Test {
 protected:
  void TearDown() override { config_store_clear(); }

  static void Load(const char *text) { ASSERT_EQ(config_store_load_string(text), 0) << text; }

  static uint32_t Find(const char *path) {
    uint32_t node = 0;
    EXPECT_EQ(config_node_find(0, path, &node), 0) << path;
    return node;
  }

  static std::string Name(uint32_t node) {
    char name[64] = {};
    EXPECT_EQ(config_node_get_name(node, name, sizeof name), 0);
    return name;
  }

  static std::vector<std::string> ChildNames(const char *path) {
    std::vector<std::string> names;
    uint32_t child = 0;
    if (config_node_first_child(Find(path), &child) != 0) return names;
    do names.push_back(Name(child));
    while (config_node_next_sibling(child, &child) == 0);
    return names;
  }

  static std::string Str(const char *path, uint32_t size = 64) {
    std::vector<char> buffer(size + 1, '#');
    if (config_get_str(0, path, buffer.data(), size) != 0) return "<fail>";
    return buffer.data();
  }

  // Loads bad text; returns what the store wrote to standard error.
  static std::string LoadFails(const char *text) {
    int32_t result = 0;
    const std::string err = CaptureStderr([&] { result = config_store_load_string(text); });
    EXPECT_NE(result, 0) << text;
    return err;
  }
};

TEST_F(ConfigStore, DottedPathsComeFromTablesAndKeys) {
  Load("[platform.software.drivers.avcap.edid]\n"
       "week = 12\n"
       "audio.entry_a = 0x070709\n"
       "audio.pass_through = 1\n"
       "[platform.software.drivers.avcap.edid.lists]\n"
       "x = 3\n");
  int32_t value = 0;
  EXPECT_EQ(config_get_int(0, "platform.software.drivers.avcap.edid.week", &value), 0);
  EXPECT_EQ(value, 12);
  EXPECT_EQ(config_get_int(0, "platform.software.drivers.avcap.edid.audio.entry_a", &value), 0);
  EXPECT_EQ(value, 0x070709);
  EXPECT_EQ(config_get_int(0, "platform.software.drivers.avcap.edid.audio.pass_through", &value),
            0);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(config_get_int(0, "platform.software.drivers.avcap.edid.lists.x", &value), 0);
  EXPECT_EQ(value, 3);
  EXPECT_EQ(Name(Find("platform.software.drivers.avcap.edid.audio.entry_a")), "entry_a");
}

TEST_F(ConfigStore, TableChildrenStandInFileOrderArrayChildrenByIndex) {
  Load("[list]\nzeta = 1\nalpha = 2\nmid = 3\n"
       "[other]\nmodes = [\"16\", \"4 FP TBH\", 31]\n"
       "empty = []\n");
  EXPECT_EQ(ChildNames("list"), (std::vector<std::string>{"zeta", "alpha", "mid"}));
  EXPECT_EQ(ChildNames("other.modes"), (std::vector<std::string>{"0", "1", "2"}));
  EXPECT_EQ(ChildNames(""), (std::vector<std::string>{"list", "other"}));

  uint32_t child = 0;
  ASSERT_EQ(config_node_first_child(Find("other.modes"), &child), 0);
  char text[30] = {};
  EXPECT_EQ(config_node_get_str(child, text, sizeof text), 0);
  EXPECT_STREQ(text, "16");
  ASSERT_EQ(config_node_next_sibling(child, &child), 0);
  ASSERT_EQ(config_node_next_sibling(child, &child), 0);
  EXPECT_EQ(config_node_get_str(child, text, sizeof text), 0);  // an integer as decimal text
  EXPECT_STREQ(text, "31");
  int32_t value = 0;
  EXPECT_EQ(config_node_get_int(child, &value), 0);
  EXPECT_EQ(value, 31);
  EXPECT_EQ(config_node_next_sibling(child, &child), 1);  // the last child

  EXPECT_EQ(config_node_first_child(Find("other.empty"), &child), 2);
  EXPECT_EQ(config_node_first_child(Find("list.zeta"), &child), 2);  // a value has no children
}

TEST_F(ConfigStore, ValuesReadAsIntegersStringsOrNeither) {
  Load("neg = -2147483648\ntop = 4294967295\nminus = -1\nyes = true\nno = false\n"
       "text = \"12\"\nfloat = 1.5\nwhen = 2024-01-01\ntable = {a = 1}\narray = [1]\n");
  int32_t value = 7;
  EXPECT_EQ(config_get_int(0, "neg", &value), 0);
  EXPECT_EQ(value, INT32_MIN);
  EXPECT_EQ(config_get_int(0, "top", &value), 0);
  EXPECT_EQ(value, -1);  // the same 32-bit pattern as "minus"
  EXPECT_EQ(config_get_int(0, "minus", &value), 0);
  EXPECT_EQ(value, -1);
  EXPECT_EQ(config_get_int(0, "yes", &value), 0);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(config_get_int(0, "no", &value), 0);
  EXPECT_EQ(value, 0);
  for (const char *path : {"text", "float", "when", "table", "array", "absent"}) {
    value = 7;
    EXPECT_EQ(config_get_int(0, path, &value), 1) << path;
    EXPECT_EQ(value, 7) << path;
  }
  EXPECT_EQ(Str("text"), "12");
  EXPECT_EQ(Str("top"), "4294967295");
  EXPECT_EQ(Str("neg"), "-2147483648");
  for (const char *path : {"float", "when", "table", "array", "absent"})
    EXPECT_EQ(Str(path), "<fail>") << path;
}

TEST_F(ConfigStore, StringResultsAreCutAndAlwaysTerminated) {
  Load("name = \"Living room TV\"\n");
  EXPECT_EQ(Str("name", 5), "Livi");  // a shortened read still succeeds
  EXPECT_EQ(Str("name", 1), "");
  char none = 'x';
  EXPECT_EQ(config_get_str(0, "name", &none, 0), 1);
  EXPECT_EQ(none, 'x');
  char name[4] = {};
  EXPECT_EQ(config_node_get_name(Find("name"), name, sizeof name), 0);
  EXPECT_STREQ(name, "nam");
}

TEST_F(ConfigStore, BadHandlesAndArgumentsGiveOne) {
  Load("a = 1\n");
  uint32_t node = 0;
  int32_t value = 0;
  char text[8];
  EXPECT_EQ(config_node_find(0, "b", &node), 2);
  EXPECT_EQ(config_node_find(1, "a", &node), 1);
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
}

TEST_F(ConfigStore, LoadReplacesTheWholeDatabaseAndClearEmptiesIt) {
  Load("a = 1\n");
  Load("b = 2\n");
  uint32_t node = 0;
  EXPECT_EQ(config_node_find(0, "a", &node), 2);
  EXPECT_EQ(config_node_find(0, "b", &node), 0);
  config_store_clear();
  EXPECT_EQ(config_node_find(0, "b", &node), 2);
}

TEST_F(ConfigStore, BadInputNamesTheSpotAndKeepsThePreviousDatabase) {
  Load("[edid]\nweek = 12\nlist = [1, 2]\n");
  const uint32_t list = Find("edid.list");
  uint32_t first = 0;
  ASSERT_EQ(config_node_first_child(list, &first), 0);

  struct Case {
    const char *text;
    const char *where;  // source:line:column
  } cases[] = {
      {"a = \"unterminated\n", "<string>:1:"},
      {"a = 1\nb = 2\na = 3\n", "<string>:3:"},
      {"x = 1\ny = 4294967296\n", "<string>:2:5"},
      {"x = 1\n\n  y = -2147483649\n", "<string>:3:7"},
      {"[t]\nv = [1, 99999999999]\n", "<string>:2:9"},
      {"= 1\n", "<string>:1:"},
      // Non-ASCII characters where the parser looks for blanks.
      {"g\xef\xbb\x87", "<string>:1:"},
      {"a = 1 \xc2\xa1\n", "<string>:1:"},
      {"a\xe2\xbd\xb0= 1\n", "<string>:1:"},
      {"[+!0", "<string>:1:"},
  };
  for (const auto &c : cases) {
    const std::string err = LoadFails(c.text);
    EXPECT_THAT(err, MatchesRegex(std::string(c.where) + "[0-9]*: .+\n")) << c.text;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
  }
  EXPECT_THAT(LoadFails("x = 4294967296\n"),
              MatchesRegex("<string>:1:5: integer 4294967296 is out of range .*\n"));

  // The earlier database and its node handles are still there.
  int32_t value = 0;
  EXPECT_EQ(config_get_int(0, "edid.week", &value), 0);
  EXPECT_EQ(value, 12);
  EXPECT_EQ(config_node_get_int(first, &value), 0);
  EXPECT_EQ(value, 1);
  uint32_t node = 0;
  EXPECT_EQ(config_node_find(0, "x", &node), 2);
}

TEST_F(ConfigStore, FilesLoadByPathAndAMissingFileIsAClearError) {
  char path[] = "/tmp/edc_store_test_XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  const std::string text = "[p]\nq = 5\nbad = [\n";
  ASSERT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(fd);
  const std::string err = CaptureStderr([&] { EXPECT_NE(config_store_load_file(path), 0); });
  EXPECT_THAT(err, MatchesRegex(std::string(path) + ":3:[0-9]+: .+\n"));

  FILE *file = fopen(path, "w");
  fputs("[p]\nq = 5\n", file);
  fclose(file);
  EXPECT_EQ(config_store_load_file(path), 0);
  unlink(path);
  int32_t value = 0;
  EXPECT_EQ(config_get_int(0, "p.q", &value), 0);
  EXPECT_EQ(value, 5);

  const std::string missing =
      CaptureStderr([] { EXPECT_NE(config_store_load_file("/nonexistent/edid.toml"), 0); });
  EXPECT_EQ(missing, "/nonexistent/edid.toml:0:0: cannot open file: No such file or directory\n");
  EXPECT_EQ(config_get_int(0, "p.q", &value), 0);  // still loaded
}

}  // namespace
