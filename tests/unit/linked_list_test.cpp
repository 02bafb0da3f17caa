// Typed list: type codes, the address-bound mark, the integrity findings and
// the exact message of every refusal. The refusals are one transcript
// (tests/golden/linked_list.txt): each call with its result, then the lines
// it printed, with addresses and marks replaced by names.
#include "linked_list.h"

#include "edc_test.h"
#include "linked_list_internal.h"
#include "typed_list.h"

using namespace edc_test;  // NOLINT: the test helpers throughout

namespace {

// A list of ints holding the values given.
struct IntList {
  explicit IntList(std::initializer_list<int32_t> values, const char *type = "int") {
    ll_init(&list, type);
    for (int32_t v : values) Append(v);
  }
  ~IntList() {
    if (ll_is_initialized(&list)) ll_delete_list(&list);
  }
  void Append(int32_t value) { edc::append_copy(&list, value, EDC_HERE); }
  int At(int index) {
    const int32_t *value = edc::element_at<int32_t>(&list, index);
    return value != nullptr ? *value : -999;
  }
  ll_list_t list{};
};

TEST(TypeCode, IsTheSignExtendedXorOfTheNameInFourByteGroups) {
  // clang-format off
  const std::pair<const char *, uint32_t> cases[] = {
      {"std_timing_t", 0x42567A69u},       {"detailed_timing_t", 0x371F134Fu},
      {"short_video_desc_t", 0x27054358u}, {"short_audio_desc_t", 0x3B124F58u},
      {"int", 0x00746E69u},                {"\xE9", 0xFFFFFFE9u},
      {"", 0u},                            {"abcdabcd", 0u}};  // colliding groups cancel
  // clang-format on
  for (const auto &[name, code] : cases) EXPECT_EQ(_calculate_str_checksum(name), code) << name;
}

TEST(TypedList, KeepsOrderAndCopiesDeeply) {
  IntList ints({2, 3});
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  ASSERT_EQ(ll_create_entry(64, &entry, &data, "int"), 1);
  EXPECT_EQ(memcmp(data, std::string(64, '\0').data(), 64), 0);  // zero-filled
  *static_cast<int *>(data) = 1;
  EXPECT_EQ(ll_add_entry_to_front(&ints.list, entry), 1);
  EXPECT_EQ(entry->list, &ints.list);
  ints.Append(4);
  ASSERT_EQ(ll_size(&ints.list), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(ints.At(i), i + 1);

  EXPECT_EQ(ll_delete_entry_at(&ints.list, 1), 1);  // 1 3 4
  EXPECT_EQ(ll_delete_entry_at(&ints.list, 0), 1);  // 3 4
  EXPECT_EQ(ints.At(0), 3);

  IntList copy({9});
  EXPECT_EQ(ll_copy_list(&ints.list, &copy.list, sizeof(int)), 1);  // 9 3 4
  EXPECT_EQ(ll_copy_list(&copy.list, &copy.list, sizeof(int)), 1);  // onto itself: doubled
  ASSERT_EQ(ll_size(&copy.list), 6);
  *static_cast<int *>(copy.list.head->next->data) = 100;
  EXPECT_EQ(ints.At(0), 3);  // nothing shared
  EXPECT_EQ(copy.At(4), 3);

  EXPECT_EQ(ll_delete_list(&copy.list), 1);
  EXPECT_EQ(ll_is_initialized(&copy.list), 0);
  EXPECT_EQ(copy.list.magic, 0u);
  EXPECT_EQ(ll_verify_list_type(&copy.list, "int"), 1);  // the type code survives
  EXPECT_EQ(ll_init(&copy.list, "int"), 1);              // and it may start again
}

TEST(TypedList, RefusalsAndIntegrityFindingsPrintTheirMessages) {
  Transcript t;
  ll_list_t zeroed{};
  t.Name(&zeroed, "zeroed");
  t.Note("a zeroed head is uninitialised until ll_init");
  t.Call("ll_is_initialized(zeroed)", [&] { return ll_is_initialized(&zeroed); });
  t.Call("ll_size(zeroed)", [&] { return ll_size(&zeroed); });
  t.Call("ll_init(zeroed, int)", [&] { return ll_init(&zeroed, "int"); });
  t.Call("ll_init(zeroed, int) again", [&] { return ll_init(&zeroed, "int"); });
  ll_delete_list(&zeroed);

  IntList ints({1, 2, 3});
  ll_list_t &list = ints.list;
  ll_entry_t *first = list.head, *second = first->next, *third = second->next;
  t.Name(&list, "list");
  t.Name(first, "first");
  t.Name(second, "second");
  t.Name(third, "third");
  t.Note("a head copied elsewhere fails every checked operation");
  ll_list_t moved = list;
  t.Name(&moved, "moved");
  void *data = &moved;
  t.Call("ll_entry_at(moved, 0)", [&] { return ll_entry_at(&moved, 0, &data); });
  t.Call("out value is null", [&] { return data == nullptr; });
  t.Call("ll_delete_list(moved)", [&] { return ll_delete_list(&moved); });
  t.Call("ll_delete_entry_at(moved, 0)", [&] { return ll_delete_entry_at(&moved, 0); });

  t.Note("indexes outside the list");
  t.Call("ll_entry_at(list, -1)", [&] { return ll_entry_at(&list, -1, &data); });
  t.Call("ll_entry_at(list, 3)", [&] { return ll_entry_at(&list, 3, &data); });
  t.Call("ll_delete_entry_at(list, 3)", [&] { return ll_delete_entry_at(&list, 3); });

  t.Note("entries of another type");
  ll_entry_t *timing = nullptr;
  ll_create_entry(12, &timing, &data, "std_timing_t");
  t.Call("ll_add_entry_to_back(list, std_timing_t)",
         [&] { return ll_add_entry_to_back(&list, timing); });
  t.Call("ll_add_entry_to_front(list, std_timing_t)",
         [&] { return ll_add_entry_to_front(&list, timing); });
  IntList timings({}, "std_timing_t");
  t.Name(&timings.list, "timings");
  t.Call("ll_copy_list(list, timings)", [&] { return ll_copy_list(&list, &timings.list, 4); });
  t.Call("ll_copy_list(list, timings, size 0)",
         [&] { return ll_copy_list(&list, &timings.list, 0); });
  ll_delete_entry(timing);

  t.Note("corruptions found by the integrity walk");
  // Each corruption repairs the one before it.
  const auto verify = [&](const std::string &what, const std::function<void()> &corrupt) {
    corrupt();
    t.Call("ll_verify_integrity: " + what, [&] { return ll_verify_integrity(&list); });
  };
  verify("size 5 for 3 entries", [&] { list.size = 5; });
  verify("size 2 for 3 entries", [&] { list.size = 2; });
  verify("size -1", [&] { list.size = -1; });
  verify("a cycle", [&] { list.size = 3, third->next = first; });
  verify("an entry without its list", [&] { third->next = nullptr, second->list = nullptr; });
  verify("an entry of another type", [&] { second->list = &list, third->type_code = 0x1234; });
  verify("no head, size 3", [&] { third->type_code = list.type_code, list.head = nullptr; });
  verify("a head, size 0", [&] { list.head = first, list.size = 0; });
  verify("repaired", [&] { list.size = 3; });

  t.Note("NULL and bad arguments");
  ll_entry_t *entry = nullptr;
  t.Call("ll_create_entry(size 0)", [&] { return ll_create_entry(0, &entry, &data, "int"); });
  t.Call("ll_create_entry(size -5)", [&] { return ll_create_entry(-5, &entry, &data, "int"); });
  t.Call("ll_create_entry(NULL entry)", [&] { return ll_create_entry(4, nullptr, &data, "int"); });
  t.Call("ll_create_entry(NULL data)", [&] { return ll_create_entry(4, &entry, nullptr, "int"); });
  t.Call("ll_create_entry(NULL type)", [&] { return ll_create_entry(4, &entry, &data, nullptr); });
  t.Call("ll_delete_entry(NULL)", [&] { return ll_delete_entry(nullptr); });
  t.Call("ll_is_initialized(NULL)", [&] { return ll_is_initialized(nullptr); });
  t.Call("ll_init(NULL)", [&] { return ll_init(nullptr, "int"); });
  t.Call("ll_init(type NULL)", [&] { return ll_init(&zeroed, nullptr); });
  t.Call("ll_verify_list_type(type NULL)", [&] { return ll_verify_list_type(&list, nullptr); });
  t.Call("ll_delete_list(NULL)", [&] { return ll_delete_list(nullptr); });
  t.Call("ll_size(NULL)", [&] { return ll_size(nullptr); });
  t.Call("ll_delete_entry_at(NULL)", [&] { return ll_delete_entry_at(nullptr, 0); });
  t.Call("ll_entry_at(out NULL)", [&] { return ll_entry_at(&list, 0, nullptr); });
  t.Call("ll_entry_at(NULL)", [&] { return ll_entry_at(nullptr, 0, &data); });
  t.Call("ll_verify_integrity(NULL)", [&] { return ll_verify_integrity(nullptr); });
  t.Call("ll_add_entry_to_back(NULL)", [&] { return ll_add_entry_to_back(nullptr, entry); });
  t.Call("ll_add_entry_to_front(entry NULL)",
         [&] { return ll_add_entry_to_front(&list, nullptr); });
  t.Call("ll_copy_list(src NULL)", [&] { return ll_copy_list(nullptr, &list, 4); });
  t.Call("ll_copy_list(dst NULL)", [&] { return ll_copy_list(&list, nullptr, 4); });
  t.Call("ll_copy_list(src uninitialised)", [&] { return ll_copy_list(&zeroed, &list, 4); });
  t.Call("ll_copy_list(dst uninitialised)", [&] { return ll_copy_list(&list, &zeroed, 4); });
  t.Call("_get_magic_number(NULL)", [&] { return _get_magic_number(nullptr); });
  ExpectGolden("linked_list.txt", t.Text());
}

}  // namespace
