// The edid-composer command as a user runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "tool_runner.h"
#include "version.h"

using edc_test::RunTool;
using testing::HasSubstr;

namespace {

TEST(Tool, VersionPrintsTheBanner) {
  const auto result = RunTool("--version");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, std::string(gVersion) + "\n");
}

TEST(Tool, HelpListsUsage) {
  const auto result = RunTool("--help");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("Usage:"));
}

TEST(Tool, UnknownOptionIsAUsageError) {
  const auto result = RunTool("--no-such-option");
  EXPECT_NE(result.status, 0);
  EXPECT_THAT(result.err, HasSubstr("no-such-option"));
}

}  // namespace
