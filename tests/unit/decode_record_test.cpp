// Lifecycle of the EDID record: what prepare leaves, and the order in which
// destroy refuses or releases the four lists.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode.h"

using edc_test::Error;
using edc_test::Lines;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct ListCase {
  ll_list_t edid_t::*list;
  const char *type;
  const char *name;  // as edid_destroy names it
};
const ListCase kLists[] = {
    {&edid_t::std_timings, "std_timing_t", "standard_timing_list"},
    {&edid_t::dtd_list, "detailed_timing_t", "detailed_timing_list"},
    {&edid_t::video_list, "short_video_desc_t", "short_video_description_timing_list"},
    {&edid_t::audio_list, "short_audio_desc_t", "short_audio_description_timing_list"},
};

TEST(EdidPrepare, ZeroesAGarbageRecordAndGivesFourEmptyTypedLists) {
  edid_t edid;
  memset(&edid, 0xA5, sizeof edid);
  EXPECT_THAT(Lines([&] { EXPECT_EQ(edid_prepare(&edid), 1); }), IsEmpty());
  edid_t zero;
  memset(&zero, 0, sizeof zero);
  for (const auto &c : kLists) {
    EXPECT_EQ(ll_is_initialized(&(edid.*c.list)), 1) << c.type;
    EXPECT_EQ(ll_verify_list_type(&(edid.*c.list), c.type), 1) << c.type;
    EXPECT_EQ(ll_size(&(edid.*c.list)), 0) << c.type;
    zero.*c.list = edid.*c.list;  // the heads are the only non-zero bytes
  }
  EXPECT_EQ(memcmp(&zero, &edid, sizeof edid), 0);
  EXPECT_EQ(edid_destroy(&edid), 1);
}

TEST(EdidDestroy, RefusesAtTheFirstUninitialisedListAndDeletesNothing) {
  for (size_t broken = 0; broken < std::size(kLists); ++broken) {
    edc_test::PreparedEdid record;
    (record.edid.*kLists[broken].list).magic = 0;
    EXPECT_THAT(Lines([&] { EXPECT_EQ(edid_destroy(&record.edid), 0); }),
                ElementsAre(Error("edid_destroy", std::string("List is not initialized. List:") +
                                                      kLists[broken].name + ".")));
    for (size_t i = 0; i < std::size(kLists); ++i)
      EXPECT_EQ(ll_is_initialized(&(record.edid.*kLists[i].list)), i != broken ? 1 : 0);
    ll_init(&(record.edid.*kLists[broken].list), kLists[broken].type);  // for the clean-up
  }
}

TEST(EdidDestroy, ReleasesTheEntriesOnceAndAllowsANewPrepare) {
  edid_t edid;
  memset(&edid, 0, sizeof edid);
  EXPECT_THAT(
      Lines([&] { EXPECT_EQ(edid_destroy(&edid), 0); }),
      ElementsAre(Error("edid_destroy", "List is not initialized. List:standard_timing_list.")));
  ASSERT_EQ(edid_prepare(&edid), 1);
  edc_test::BaseFields fields;
  fields.standard_timings[0] = {0xD1, 0xC0};
  const auto block = edc_test::BaseBlock(fields);
  ASSERT_EQ(decode_edid_block_0(block.data(), &edid), 1);
  edid.product_id = 77;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(edid_destroy(&edid), 1); }), IsEmpty());
  EXPECT_EQ(edid.product_id, 77u);  // other fields stay as they were
  EXPECT_THAT(
      Lines([&] { EXPECT_EQ(edid_destroy(&edid), 0); }),
      ElementsAre(Error("edid_destroy", "List is not initialized. List:standard_timing_list.")));
  ASSERT_EQ(edid_prepare(&edid), 1);
  EXPECT_EQ(decode_edid_block_0(block.data(), &edid), 1);
  EXPECT_EQ(ll_size(&edid.std_timings), 1);
  EXPECT_EQ(edid_destroy(&edid), 1);
}

}  // namespace
