// Typed access to the library's lists.
//
// The list (linked_list.h) knows an element only as zero-filled storage of a
// named type. This header ties each element type of the record to its type
// name once, and gives the three things the library does with a list:
//
//   append_copy(&list, element, EDC_HERE)    the insertion idiom: create an
//                                            entry, copy the element in, add
//                                            it to the back, delete it again
//                                            if the add fails
//   append_filled<T>(&list, EDC_HERE, fill)  the same, with fill(T &) filling
//                                            the zeroed element in place
//   element_at<T>(&list, index)              ll_entry_at, typed
//   for (T *e : elements<T>(&list)) ...      every element, head to tail
//
// Every call goes through the ll_ functions, so the list verifies itself and
// reports as it always does. The helpers report their own failures on behalf
// of the caller's source file, line and function (a report_site).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "diagnostics.h"
#include "edid_decode_encode.h"
#include "linked_list.h"
#include "linked_list_internal.h"

namespace edc {

// The element type names, as the list and its type codes know them. Only
// these types have lists; for any other type_name<T> is null and the helpers
// below do not compile.
template <typename T>
inline constexpr const char *type_name = nullptr;
template <>
inline constexpr const char *type_name<std_timing_t> = "std_timing_t";
template <>
inline constexpr const char *type_name<detailed_timing_t> = "detailed_timing_t";
template <>
inline constexpr const char *type_name<short_video_desc_t> = "short_video_desc_t";
template <>
inline constexpr const char *type_name<short_audio_desc_t> = "short_audio_desc_t";
template <>  // the platform's encoded audio descriptors
inline constexpr const char *type_name<int32_t> = "int";

template <typename T>
concept list_element = (type_name<T> != nullptr);

// The type codes of the names, computed when the library is compiled.
template <list_element T>
inline constexpr uint32_t type_code_of = type_code(type_name<T>);

// A list's element type as tables of lists hold it: its name and code.
struct list_type {
  const char *name;
  uint32_t code;
};
template <list_element T>
inline constexpr list_type list_type_of = {type_name<T>, type_code_of<T>};

inline uint8_t init_list(ll_list_t *list, const list_type &type) {
  return init_list(list, type.name, type.code);
}

// A list of T made ready (ll_init).
template <list_element T>
uint8_t init_list_of(ll_list_t *list) {
  return init_list(list, type_name<T>, type_code_of<T>);
}

// The texts of a failed insertion; they differ between the library's lists.
struct insertion_messages {
  const char *create_failed;
  const char *add_failed;
  const char *delete_failed;
};
inline constexpr insertion_messages kInsertionMessages = {
    "Failed creating entry.", "Failed adding entry to the back of the list.",
    "Failed deleting entry."};

// Where an insertion goes: the back of the list or its front.
enum class list_end : uint8_t { back, front };

// Creates an entry of T, lets fill(T &) fill its zeroed element in place and
// links it in at the given end. On a failure reports the messages at site,
// releases the entry and gives nullptr; otherwise the element as the list
// now holds it.
template <list_element T, typename Fill>
T *insert_filled(ll_list_t *list, list_end end, const report_site &site, Fill &&fill,
                 const insertion_messages &messages = kInsertionMessages) {
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  if (!create_entry(static_cast<int32_t>(sizeof(T)), &entry, &data, type_name<T>,
                    type_code_of<T>)) {
    report(site, "ERROR", "%s", messages.create_failed);
    return nullptr;
  }
  fill(*static_cast<T *>(data));
  const uint8_t added = end == list_end::back ? ll_add_entry_to_back(list, entry)
                                              : ll_add_entry_to_front(list, entry);
  if (!added) {
    report(site, "ERROR", "%s", messages.add_failed);
    if (!ll_delete_entry(entry)) report(site, "ERROR", "%s", messages.delete_failed);
    return nullptr;
  }
  return static_cast<T *>(data);
}

// The same with a copy of element.
template <list_element T>
T *insert_copy(ll_list_t *list, const T &element, list_end end, const report_site &site,
               const insertion_messages &messages = kInsertionMessages) {
  return insert_filled<T>(
      list, end, site, [&](T &stored) { memcpy(&stored, &element, sizeof(T)); }, messages);
}

template <list_element T>
T *append_copy(ll_list_t *list, const T &element, const report_site &site,
               const insertion_messages &messages = kInsertionMessages) {
  return insert_copy(list, element, list_end::back, site, messages);
}

template <list_element T, typename Fill>
T *append_filled(ll_list_t *list, const report_site &site, Fill &&fill,
                 const insertion_messages &messages = kInsertionMessages) {
  return insert_filled<T>(list, list_end::back, site, fill, messages);
}

// The element at index, or nullptr when the list cannot give it (the list
// reports why).
template <list_element T>
T *element_at(ll_list_t *list, int32_t index) {
  void *data = nullptr;
  return ll_entry_at(list, index, &data) ? static_cast<T *>(data) : nullptr;
}

// Every element of a list, head to tail: the list is verified once
// (ll_size, which reports a damaged list and then gives 0) and its entries
// are then walked directly, as many as it holds. T may be any type the
// caller reads the elements as (raw bytes, say).
template <typename T>
class elements {
 public:
  explicit elements(ll_list_t *list)
      : head_(list != nullptr ? list->head : nullptr), size_(list != nullptr ? ll_size(list) : 0) {}

  class iterator {
   public:
    iterator(ll_entry_t *entry, int32_t left) : entry_(entry), left_(left) {}
    T *operator*() const { return static_cast<T *>(entry_->data); }
    iterator &operator++() {
      entry_ = entry_->next;
      --left_;
      return *this;
    }
    bool operator!=(const iterator &) const { return left_ > 0 && entry_ != nullptr; }

   private:
    ll_entry_t *entry_;
    int32_t left_;
  };

  iterator begin() const { return {head_, size_}; }
  iterator end() const { return {nullptr, 0}; }
  int32_t size() const { return size_; }

 private:
  ll_entry_t *head_;
  int32_t size_;
};

// The walk of a list the caller was handed: a missing list is reported as a
// bug, a list of another element type as an error (and walked all the same),
// both under the list's name as the caller's code spells it.
template <list_element T>
elements<T> checked_elements(ll_list_t *list, const char *list_name, const report_site &site) {
  if (list == nullptr) {
    report(site, "BUG", "The list:%s of type:%s is NULL.", list_name, type_name<T>);
  } else if (!list_has_type(list, type_name<T>, type_code_of<T>)) {
    report(site, "ERROR", "The list types don't match.%s", "");
  }
  return elements<T>(list);
}

}  // namespace edc
