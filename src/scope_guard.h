// The one clean-up idiom for functions that own records (edid_t, ll_list_t,
// platform_values_t): as soon as a record is ready, declare a scope_exit
// whose lambda releases it and reports a failed release. The lambda runs on
// every path out of the scope, so no branch repeats the release code:
//
//   edid_t edid;
//   if (!edid_prepare(&edid)) { ...; return; }
//   const edc::scope_exit release_edid([&]() noexcept {
//     if (!edid_destroy(&edid)) LOG_ERROR_AS(kPrintEdid, "Failed cleaning up edid.");
//   });
//
// Report with the LOG_*_AS forms inside the lambda: there __func__ names the
// lambda, not the function that owns the record. Guards run in the reverse
// order of their declaration; a function whose records must be released in
// another order releases them all from one guard.
#pragma once

#include <utility>

namespace edc {

template <typename Release>
class scope_exit {
 public:
  explicit scope_exit(Release release) noexcept : release_(std::move(release)) {}
  ~scope_exit() noexcept { release_(); }
  scope_exit(const scope_exit &) = delete;
  scope_exit &operator=(const scope_exit &) = delete;

 private:
  Release release_;
};

}  // namespace edc
