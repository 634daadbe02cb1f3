// SPDX-License-Identifier: Apache-2.0

// The functions of a sequence type, for example `TSeq_set_maximum`. They call the methods of the sequence.
#pragma once

#include "tessivar/platform/sequence.h"

namespace tessivar::types {

/// Calls `use(*self)` and returns its result. If `self` is null, logs the bad parameter and returns `failure`.
template <class Result, class Seq, class Use>
Result with_sequence(Seq* self, const char* operation, Result failure, Use&& use) {
  if (self) return use(*self);
  platform::sequence_error(Seq::ElementOps::name, operation, "bad parameter: self");
  return failure;
}

/// Calls `use(*self, *argument)`. A null `argument` is a bad parameter, too.
template <class Result, class Seq, class Argument, class Use>
Result with_argument(Seq* self, const char* operation, const char* name, const Argument* argument, Result failure,
                     Use&& use) {
  return with_sequence(self, operation, failure, [&](Seq& sequence) {
    if (argument) return use(sequence, *argument);
    platform::sequence_error(Seq::ElementOps::name, operation, "bad parameter: %s", name);
    return failure;
  });
}

}  // namespace tessivar::types

#define TESSIVAR_DECLARED(...) ;
#define TESSIVAR_DEFINED(...) \
  { __VA_ARGS__ }

// The list of functions is stated once, so that declarations and definitions cannot differ. `export` is put before each
// function. `body` is TESSIVAR_DECLARED or TESSIVAR_DEFINED. The results are 1 or 0, a count, or a pointer that may be
// null.
#define TESSIVAR_SEQUENCE_FUNCTIONS(S, export, body)                                                                   \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, initialize, (S * self), s.initialize())                                      \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, finalize, (S * self), s.finalize())                                          \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, set_maximum, (S * self, DDS_Long new_max), s.set_maximum(new_max))           \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, set_length, (S * self, DDS_Long new_length), s.set_length(new_length))       \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, ensure_length, (S * self, DDS_Long length, DDS_Long max),                    \
                         s.ensure_length(length, max))                                                                 \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, set_absolute_maximum, (S * self, DDS_Long new_max),                          \
                         s.set_absolute_maximum(new_max))                                                              \
  TESSIVAR_SEQUENCE_FROM(S, export, body, int, copy_no_alloc, S, source, 0, s.copy_no_alloc(other))                    \
  TESSIVAR_SEQUENCE_FROM(S, export, body, int, copy_no_allocI, S, source, 0, s.copy_no_allocI(other))                  \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, from_array, (S * self, const S::Element* array, DDS_Long length),            \
                         s.from_array(array, length))                                                                  \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, to_array, (const S* self, S::Element* array, DDS_Long length),               \
                         s.to_array(array, length))                                                                    \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, loan_contiguous,                                                             \
                         (S * self, S::Element * buffer, DDS_Long new_length, DDS_Long new_max),                       \
                         s.loan_contiguous(buffer, new_length, new_max))                                               \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, loan_discontiguous,                                                          \
                         (S * self, S::Element * *buffer, DDS_Long new_length, DDS_Long new_max),                      \
                         s.loan_discontiguous(buffer, new_length, new_max))                                            \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, unloan, (S * self), s.unloan())                                              \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, has_ownership, (const S* self), s.has_ownership() != 0)                      \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, get_element_pointers_allocation, (const S* self),                            \
                         s.element_pointers_allocation() != 0)                                                         \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, set_element_pointers_allocation, (S * self, DDS_Boolean allocate),           \
                         s.element_pointers_allocation(allocate))                                                      \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, get_read_tokenI, (const S* self, void** token1, void** token2),              \
                         s.get_read_tokenI(token1, token2))                                                            \
  TESSIVAR_SEQUENCE_BOOL(S, export, body, set_read_tokenI, (S * self, void* token1, void* token2),                     \
                         (s.set_read_tokenI(token1, token2), true))                                                    \
  TESSIVAR_SEQUENCE_FROM(S, export, body, int, set_element_allocation_params, DDS_TypeAllocationParams_t, params, 0,   \
                         s.element_allocation_params(other))                                                           \
  TESSIVAR_SEQUENCE_FROM(S, export, body, int, set_element_deallocation_params, DDS_TypeDeallocationParams_t, params,  \
                         0, s.element_deallocation_params(other))                                                      \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, DDS_TypeAllocationParams_t, get_element_allocation_params, (const S* self), \
                          s.element_allocation_params(), DDS_TYPE_ALLOCATION_PARAMS_DEFAULT)                           \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, DDS_TypeDeallocationParams_t, get_element_deallocation_params,              \
                          (const S* self), s.element_deallocation_params(), DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT)      \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, DDS_Long, get_maximum, (const S* self), s.maximum(), DDS_Long{0})           \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, DDS_Long, get_length, (const S* self), s.length(), DDS_Long{0})             \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, S::Element, get, (const S* self, DDS_Long i), s.get_at(i), S::Element())    \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, S::Element*, get_reference, (S * self, DDS_Long i), s.get_reference(i),     \
                          static_cast<S::Element*>(nullptr))                                                           \
  TESSIVAR_SEQUENCE_FROM(S, export, body, S*, copy, S, source, static_cast<S*>(nullptr),                               \
                         (s.copy(other) ? &s : nullptr))                                                               \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, S::Element*, get_contiguous_buffer, (const S* self),                        \
                          s.get_contiguous_buffer(), static_cast<S::Element*>(nullptr))                                \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, S::Element*, get_contiguous_bufferI, (const S* self),                       \
                          s.get_contiguous_bufferI(), static_cast<S::Element*>(nullptr))                               \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, S::Element**, get_discontiguous_buffer, (const S* self),                    \
                          s.get_discontiguous_buffer(), static_cast<S::Element**>(nullptr))                            \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, S::Element**, get_discontiguous_bufferI, (const S* self),                   \
                          s.get_discontiguous_bufferI(), static_cast<S::Element**>(nullptr))

#define TESSIVAR_SEQUENCE_VALUE(S, export, body, Result, operation, arguments, expression, failure) \
  export Result S##_##operation arguments body(                                                     \
      return tessivar::types::with_sequence<Result>(self, #operation, failure,                      \
                                                    [&](auto& s) -> Result { return expression; });)
#define TESSIVAR_SEQUENCE_BOOL(S, export, body, operation, arguments, expression) \
  TESSIVAR_SEQUENCE_VALUE(S, export, body, int, operation, arguments, expression, 0)
#define TESSIVAR_SEQUENCE_FROM(S, export, body, Result, operation, Other, name, failure, expression) \
  export Result S##_##operation(S* self, const Other* name) body(                                    \
      return tessivar::types::with_argument<Result>(self, #operation, #name, name, failure,          \
                                                    [](S& s, const Other& other) -> Result { return expression; });)
