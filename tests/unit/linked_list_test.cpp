// Typed list: type codes, the address-bound mark, integrity findings and the
// exact messages of every refusal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "capture.h"
#include "linked_list.h"
#include "linked_list_internal.h"

using edc_test::Bug;
using edc_test::Error;
using edc_test::Lines;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string Ptr(const void *p) {
  char text[32];
  snprintf(text, sizeof text, "%p", p);
  return text;
}

int32_t Mark(const ll_list_t *list) {
  return static_cast<int32_t>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(list)) ^
                              0xA0A06060u);
}

// A list of ints, filled with the values given.
class IntList {
 public:
  explicit IntList(std::initializer_list<int> values, const char *type = "int") {
    memset(&list, 0, sizeof list);
    EXPECT_EQ(ll_init(&list, type), 1);
    for (int v : values) Append(v, type);
  }
  ~IntList() {
    if (ll_is_initialized(&list)) ll_delete_list(&list);
  }
  ll_entry_t *Append(int value, const char *type = "int") {
    ll_entry_t *entry = nullptr;
    void *data = nullptr;
    EXPECT_EQ(ll_create_entry(sizeof(int), &entry, &data, type), 1);
    *static_cast<int *>(data) = value;
    EXPECT_EQ(ll_add_entry_to_back(&list, entry), 1);
    return entry;
  }
  int At(int index) {
    void *data = nullptr;
    EXPECT_EQ(ll_entry_at(&list, index, &data), 1);
    return data != nullptr ? *static_cast<int *>(data) : -999;
  }
  ll_list_t list;
};

TEST(TypeCode, IsTheSignExtendedXorOfTheNameInFourByteGroups) {
  struct Case {
    const char *name;
    uint32_t code;
  } cases[] = {
      {"std_timing_t", 0x42567A69u},       {"detailed_timing_t", 0x371F134Fu},
      {"short_video_desc_t", 0x27054358u}, {"short_audio_desc_t", 0x3B124F58u},
      {"int", 0x00746E69u},                {"\xE9", 0xFFFFFFE9u},
      {"", 0u},
  };
  for (const auto &c : cases) EXPECT_EQ(_calculate_str_checksum(c.name), c.code) << c.name;
  // Names that collide under the code are the same type to the list.
  EXPECT_EQ(_calculate_str_checksum("abcdabcd"), 0u);
}

TEST(ListHead, ZeroedHeadIsUninitialisedUntilInit) {
  ll_list_t list;
  memset(&list, 0, sizeof list);
  EXPECT_EQ(ll_is_initialized(&list), 0);
  int32_t size = -1;
  EXPECT_THAT(Lines([&] { size = ll_size(&list); }),
              ElementsAre(Error("ll_verify_integrity",
                                "Corrupt List: List not initialized. Ptr:" + Ptr(&list) +
                                    " ExpectedMagic:0 Magic:" + std::to_string(Mark(&list)) +
                                    " Size:0 Head:(nil) "),
                          Bug("ll_size", "Failed integrity test. list:" + Ptr(&list))));
  EXPECT_EQ(size, 0);
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_init(&list, "int"), 1); }), IsEmpty());
  EXPECT_EQ(ll_is_initialized(&list), 1);
  EXPECT_EQ(ll_size(&list), 0);
  EXPECT_EQ(ll_delete_list(&list), 1);
}

TEST(ListHead, GarbageIsOverwrittenByInit) {
  ll_list_t list;
  memset(&list, 0xA5, sizeof list);
  EXPECT_EQ(ll_init(&list, "int"), 1);
  EXPECT_EQ(list.size, 0);
  EXPECT_EQ(list.head, nullptr);
  EXPECT_EQ(ll_delete_list(&list), 1);
}

TEST(ListHead, SecondInitIsRefusedAndKeepsTheEntries) {
  IntList ints({1, 2});
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_init(&ints.list, "int"), 0); }),
              ElementsAre(Error("ll_init",
                                "List Corruption: This list has already been initialized. Ptr:" +
                                    Ptr(&ints.list) + " MagicNum:" +
                                    std::to_string(Mark(&ints.list)))));
  EXPECT_EQ(ll_size(&ints.list), 2);
}

TEST(ListHead, DeleteListUninitialisesButKeepsTheTypeCode) {
  IntList ints({1, 2, 3});
  EXPECT_EQ(ll_delete_list(&ints.list), 1);
  EXPECT_EQ(ll_is_initialized(&ints.list), 0);
  EXPECT_EQ(ints.list.magic, 0u);
  EXPECT_EQ(ints.list.head, nullptr);
  EXPECT_EQ(ll_verify_list_type(&ints.list, "int"), 1);
  EXPECT_EQ(ll_verify_list_type(&ints.list, "std_timing_t"), 0);
  EXPECT_EQ(ll_init(&ints.list, "int"), 1);  // may be initialised again
}

TEST(ListHead, MovedHeadFailsEveryCheckedOperation) {
  IntList ints({7});
  ll_list_t moved;
  memcpy(&moved, &ints.list, sizeof moved);
  EXPECT_EQ(ll_is_initialized(&moved), 0);
  const std::string corrupt = Error(
      "ll_verify_integrity", "Corrupt List: List not initialized. Ptr:" + Ptr(&moved) +
                                 " ExpectedMagic:" + std::to_string(Mark(&ints.list)) +
                                 " Magic:" + std::to_string(Mark(&moved)) +
                                 " Size:1 Head:" + Ptr(ints.list.head) + " ");
  void *data = &moved;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_entry_at(&moved, 0, &data), 0); }),
              ElementsAre(corrupt, Bug("ll_entry_at", "List failed integrity test.")));
  EXPECT_EQ(data, nullptr);
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_delete_list(&moved), 0); }),
              ElementsAre(corrupt, Bug("ll_delete_list", "Failed verifying integrity of the list. list:" +
                                                             Ptr(&moved))));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_delete_entry_at(&moved, 0), 0); }),
              ElementsAre(corrupt, Bug("ll_delete_entry_at", "List failed integrity test.")));
  EXPECT_EQ(ll_size(&ints.list), 1);  // the original is untouched
}

TEST(Entries, CreateEntryRefusesSizesBelowOneAndZeroFillsStorage) {
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_create_entry(0, &entry, &data, "int"), 0); }),
              ElementsAre(Error("ll_create_entry",
                                "Create entry called with an invalid size. size:0")));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_create_entry(-5, &entry, &data, "int"), 0); }),
              ElementsAre(Error("ll_create_entry",
                                "Create entry called with an invalid size. size:-5")));
  ASSERT_EQ(ll_create_entry(64, &entry, &data, "std_timing_t"), 1);
  EXPECT_EQ(entry->data, data);
  EXPECT_EQ(entry->list, nullptr);
  EXPECT_EQ(entry->next, nullptr);
  EXPECT_EQ(entry->type_code, 0x42567A69u);
  const unsigned char zeros[64] = {};
  EXPECT_EQ(memcmp(data, zeros, sizeof zeros), 0);
  EXPECT_EQ(ll_delete_entry(entry), 1);
}

TEST(Entries, NullArgumentsAreNamed) {
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  EXPECT_THAT(Lines([&] { ll_create_entry(4, nullptr, &data, "int"); }),
              ElementsAre(Error("ll_create_entry", "\"entry\" pointer is NULL. entry:(nil)")));
  EXPECT_THAT(Lines([&] { ll_create_entry(4, &entry, nullptr, "int"); }),
              ElementsAre(Error("ll_create_entry", "\"data\" pointer is NULL. data:(nil)")));
  EXPECT_THAT(Lines([&] { ll_create_entry(4, &entry, &data, nullptr); }),
              ElementsAre(Error("ll_create_entry", "\"type\" pointer is NULL. type:(nil)")));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_delete_entry(nullptr), 0); }),
              ElementsAre(Error("ll_delete_entry",
                                "\"delete_entry\" parameter is NULL. delete_entry:(nil)")));
  EXPECT_THAT(Lines([&] { ll_is_initialized(nullptr); }),
              ElementsAre(Error("ll_is_initialized", "list ptr is NULL.")));
  EXPECT_THAT(Lines([&] { ll_init(nullptr, "int"); }),
              ElementsAre(Error("ll_init", "list ptr is NULL.")));
  ll_list_t list{};
  EXPECT_THAT(Lines([&] { ll_init(&list, nullptr); }),
              ElementsAre(Error("ll_init", "\"type\" ptr is NULL. type=(nil)")));
  EXPECT_THAT(Lines([&] { ll_verify_list_type(&list, nullptr); }),
              ElementsAre(Error("ll_verify_list_type", "\"type\" ptr is NULL. type=(nil)")));
  EXPECT_THAT(Lines([&] { ll_delete_list(nullptr); }),
              ElementsAre(Error("ll_delete_list", "list ptr is NULL.")));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_size(nullptr), 0); }),
              ElementsAre(Error("ll_size", "list ptr is NULL.")));
  EXPECT_THAT(Lines([&] { ll_delete_entry_at(nullptr, 0); }),
              ElementsAre(Error("ll_delete_entry_at", "\"list\" parameter is NULL. list:(nil)")));
  EXPECT_THAT(Lines([&] { ll_entry_at(nullptr, 0, nullptr); }),
              ElementsAre(Error("ll_entry_at",
                                "\"entry_data\" parameter is NULL. entry_data:(nil)")));
  EXPECT_THAT(Lines([&] { ll_entry_at(nullptr, 0, &data); }),
              ElementsAre(Error("ll_entry_at", "\"list\" parameter is NULL. list:(nil)")));
  EXPECT_THAT(Lines([&] { ll_verify_integrity(nullptr); }),
              ElementsAre(Error("ll_verify_integrity", "\"list\" parameter is NULL. list:(nil)")));
  EXPECT_THAT(Lines([&] { ll_add_entry_to_back(nullptr, nullptr); }),
              ElementsAre(Error("ll_add_entry_to_back", "\"list\" parameter is NULL. list:(nil)")));
  EXPECT_THAT(Lines([&] { _get_magic_number(nullptr); }),
              ElementsAre(Error("_get_magic_number", "list ptr is NULL.")));
}

TEST(Insertion, BackAppendsFrontPrependsAndBothSetTheListAttribute) {
  IntList ints({2, 3});
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  ASSERT_EQ(ll_create_entry(sizeof(int), &entry, &data, "int"), 1);
  *static_cast<int *>(data) = 1;
  EXPECT_EQ(ll_add_entry_to_front(&ints.list, entry), 1);
  EXPECT_EQ(entry->list, &ints.list);
  ints.Append(4);
  EXPECT_EQ(ll_size(&ints.list), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(ints.At(i), i + 1);
}

TEST(Insertion, EntryOfAnotherTypeIsRefusedWithTheListsOwnWording) {
  IntList timings({}, "detailed_timing_t");
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  ASSERT_EQ(ll_create_entry(12, &entry, &data, "std_timing_t"), 1);
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_add_entry_to_back(&timings.list, entry), 0); }),
              ElementsAre(Bug("ll_add_entry_to_back",
                              "This entry represents a different type and cannot be added to "
                              "this list. List:0x371F134F Entry:0x42567A69")));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_add_entry_to_front(&timings.list, entry), 0); }),
              ElementsAre(Bug("ll_add_entry_to_front",
                              "This entry represents a different type and cannot be added "
                              "tothis list. List:0x371F134F Entry:0x42567A69")));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_add_entry_to_front(&timings.list, nullptr), 0); }),
              ElementsAre(Error("ll_add_entry_to_front",
                                "\"new_entry\" parameter is NULL. new_entry:(nil)")));
  EXPECT_EQ(ll_size(&timings.list), 0);
  EXPECT_EQ(ll_delete_entry(entry), 1);
}

TEST(IndexAccess, OutOfRangeIndexesFailAndLeaveTheOutValueNull) {
  IntList ints({10, 20});
  EXPECT_EQ(ints.At(0), 10);
  EXPECT_EQ(ints.At(1), 20);
  for (int index : {-1, 2}) {
    void *data = &ints;
    EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_entry_at(&ints.list, index, &data), 0); }),
                ElementsAre(Error("ll_entry_at",
                                  "Index Out of Range: Requesting a value outside the range of "
                                  "the list. Index:" +
                                      std::to_string(index) + " Size:2")));
    EXPECT_EQ(data, nullptr);
  }
}

TEST(IndexAccess, DeleteEntryAtUnlinksTheEntryAndKeepsTheListConsistent) {
  IntList ints({1, 2, 3});
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_delete_entry_at(&ints.list, 3), 0); }),
              ElementsAre(Error("ll_delete_entry_at",
                                "Index Out of Range: Requesting a value outside the range of the "
                                "list. Index:3 Size:3")));
  EXPECT_EQ(ll_delete_entry_at(&ints.list, 1), 1);
  EXPECT_EQ(ints.At(1), 3);
  EXPECT_EQ(ll_delete_entry_at(&ints.list, 1), 1);
  EXPECT_EQ(ll_delete_entry_at(&ints.list, 0), 1);
  EXPECT_EQ(ints.list.head, nullptr);
  EXPECT_EQ(ll_size(&ints.list), 0);
  EXPECT_EQ(ll_verify_integrity(&ints.list), 1);
}

// Each corruption the walk finds, with its message; the list is repaired
// afterwards so that it can be freed.
TEST(Integrity, EachInconsistencyIsReportedWithItsOwnMessage) {
  IntList ints({1, 2, 3});
  ll_list_t &list = ints.list;
  ll_entry_t *first = list.head;
  ll_entry_t *second = first->next;
  ll_entry_t *third = second->next;

  list.size = 5;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Error("ll_verify_integrity",
                                "Corrupt List: Either the list's size doesn't match the number of "
                                "entries. ListSize:3 Counted:5")));
  list.size = 2;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Error("ll_verify_integrity",
                                "Corrupt List: Either the list is the wrong size or the final "
                                "entry is not NULL. Counted=2 Len=2 NextPtr=" + Ptr(third))));
  list.size = 3;

  third->next = first;  // a cycle ends when the counter reaches the size
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Error("ll_verify_integrity",
                                "Corrupt List: Either the list is the wrong size or the final "
                                "entry is not NULL. Counted=3 Len=3 NextPtr=" + Ptr(first))));
  third->next = nullptr;

  second->list = nullptr;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Bug("ll_verify_integrity",
                              "Corrupt List: An entry's list attribute is set to NULL. Ptr:(nil)")));
  second->list = &list;

  third->type_code = 0x1234;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Bug("ll_verify_integrity",
                              "Corrupt List: An entry's type does not match the lists. Count:2")));
  third->type_code = list.type_code;

  list.head = nullptr;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Error("ll_verify_integrity",
                                "Corrupt List: The list's head is NULL, but the size isn't zero. "
                                "Size:3")));
  list.head = first;
  list.size = 0;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Error("ll_verify_integrity",
                                "Corrupt List: The list's size is zero, but the head isn't NULL. "
                                "HeadPtr:" + Ptr(first))));
  list.size = -1;  // a negative count is never reached: the first entry ends the walk
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_verify_integrity(&list), 0); }),
              ElementsAre(Error("ll_verify_integrity",
                                "Corrupt List: Either the list is the wrong size or the final "
                                "entry is not NULL. Counted=1 Len=-1 NextPtr=" + Ptr(second))));
  list.size = 3;
  EXPECT_EQ(ll_verify_integrity(&list), 1);
}

TEST(Copy, AppendsDeepCopiesAndKeepsTheDestinationsEntries) {
  IntList source({1, 2});
  IntList destination({9});
  EXPECT_EQ(ll_copy_list(&source.list, &destination.list, sizeof(int)), 1);
  ASSERT_EQ(ll_size(&destination.list), 3);
  EXPECT_EQ(destination.At(0), 9);
  EXPECT_EQ(destination.At(1), 1);
  EXPECT_EQ(destination.At(2), 2);
  void *copy = nullptr;
  ll_entry_at(&destination.list, 1, &copy);
  *static_cast<int *>(copy) = 100;  // the source is not shared
  EXPECT_EQ(source.At(0), 1);

  IntList empty({});
  EXPECT_EQ(ll_copy_list(&empty.list, &destination.list, sizeof(int)), 1);
  EXPECT_EQ(ll_size(&destination.list), 3);
  EXPECT_EQ(ll_copy_list(&empty.list, &destination.list, 0), 1);  // size 0 fails only per entry
}

TEST(Copy, CopyingAListOntoItselfDoublesIt) {
  IntList ints({1, 2});
  EXPECT_EQ(ll_copy_list(&ints.list, &ints.list, sizeof(int)), 1);
  ASSERT_EQ(ll_size(&ints.list), 4);
  EXPECT_EQ(ints.At(2), 1);
  EXPECT_EQ(ints.At(3), 2);
}

TEST(Copy, FailuresStopAtTheFirstEntryAndKeepEarlierCopies) {
  IntList source({1, 2});
  IntList other({5}, "std_timing_t");
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_copy_list(&source.list, &other.list, sizeof(int)), 0); }),
              ElementsAre(Bug("ll_add_entry_to_back",
                              "This entry represents a different type and cannot be added to "
                              "this list. List:0x42567A69 Entry:0x00746E69"),
                          Bug("ll_copy_list", "Failed adding entry to back of the destination list.")));
  EXPECT_EQ(ll_size(&other.list), 1);
  EXPECT_THAT(Lines([&] { EXPECT_EQ(ll_copy_list(&source.list, &other.list, 0), 0); }),
              ElementsAre(Error("ll_create_entry", "Create entry called with an invalid size. size:0"),
                          Bug("ll_copy_list", "Failed creating entry for the destination list.")));
  EXPECT_THAT(Lines([&] { ll_copy_list(nullptr, &other.list, 4); }),
              ElementsAre(Error("ll_copy_list", "\"src_list\" parameter is NULL. src_list:(nil)")));
  EXPECT_THAT(Lines([&] { ll_copy_list(&source.list, nullptr, 4); }),
              ElementsAre(Error("ll_copy_list", "\"dst_list\" parameter is NULL. dst_list:(nil)")));
  ll_list_t zeroed{};
  EXPECT_THAT(Lines([&] { ll_copy_list(&zeroed, &other.list, 4); }).back(),
              Bug("ll_copy_list", "Source list failed integrity test."));
  EXPECT_THAT(Lines([&] { ll_copy_list(&source.list, &zeroed, 4); }).back(),
              Bug("ll_copy_list", "Destination list failed integrity test."));
}

}  // namespace
