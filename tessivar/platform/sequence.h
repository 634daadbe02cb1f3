// SPDX-License-Identifier: Apache-2.0

// Bounded, growable sequences for samples, QoS sets and readers.
//
// A sequence owns a contiguous buffer of elements, or has a buffer on loan. All elements up to the maximum are
// initialised; the first `length` elements are valid. A lent buffer is contiguous or an array of pointers; the sequence
// neither grows nor frees it. A sequence is not thread-safe; different sequences are independent. Nothing blocks or
// throws. An operation that fails returns false (or null), logs one line and leaves the sequence unchanged.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/dds_string.h"

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

/// Which parts of a sample are allocated when it is initialised.
struct DDS_TypeAllocationParams_t {
  DDS_Boolean allocate_pointers = DDS_BOOLEAN_TRUE;
  DDS_Boolean allocate_optional_members = DDS_BOOLEAN_FALSE;
  DDS_Boolean allocate_memory = DDS_BOOLEAN_TRUE;
};

/// Which parts of a sample are freed when it is finalised.
struct DDS_TypeDeallocationParams_t {
  DDS_Boolean delete_pointers = DDS_BOOLEAN_TRUE;
  DDS_Boolean delete_optional_members = DDS_BOOLEAN_TRUE;
};

constexpr DDS_TypeAllocationParams_t DDS_TYPE_ALLOCATION_PARAMS_DEFAULT = {};
constexpr DDS_TypeDeallocationParams_t DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT = {};

/// Marks an initialised sequence. A sequence with another marker (for example zeroed memory) counts as empty.
constexpr DDS_Long DDS_SEQUENCE_MAGIC_NUMBER = 0x7344;
constexpr DDS_Long DDS_SEQUENCE_ABSOLUTE_MAXIMUM = 0x7fffffff;

namespace tessivar::platform {

/// Logs one error line, "TypeSeq_operation: …". Always returns false.
TESSIVAR_API bool sequence_error(const char* type, const char* operation, const char* format, ...)
    TESSIVAR_PRINTF(3, 4);
TESSIVAR_API void sequence_debug(const char* type, const char* operation, const char* format, ...)
    TESSIVAR_PRINTF(3, 4);

/// A type's name as a template argument.
template <std::size_t N>
struct Name {
  char text[N];
  constexpr Name(const char (&literal)[N]) {
    for (std::size_t i = 0; i < N; ++i) text[i] = literal[i];
  }
};

}  // namespace tessivar::platform

/// A sequence of `T`. `Ops` defines how elements are initialised, finalised and copied:
///   static constexpr const char* name;       the name of the sequence type in messages
///   static constexpr bool plain;             elements are zeroed, copied by memcpy and not finalised
///   static bool initialize(T&, const DDS_TypeAllocationParams_t&);
///   static void finalize(T&, const DDS_TypeDeallocationParams_t&);
///   static bool copy(T& destination, const T& source);
/// The three functions are not used if `plain` is true.
template <class T, class Ops>
class DDSSequence {
 public:
  typedef T Element;
  typedef Ops ElementOps;

  DDSSequence() noexcept {}
  explicit DDSSequence(DDS_Long new_max) { set_maximum(new_max); }
  DDSSequence(const DDSSequence& other) { copy(other); }
  DDSSequence(DDSSequence&& other) noexcept { swap(other); }
  DDSSequence& operator=(const DDSSequence& other) {
    if (this != &other) copy(other);
    return *this;
  }
  DDSSequence& operator=(DDSSequence&& other) noexcept {
    if (absolute_maximum_ != other.absolute_maximum_) {
      copy(other);  // a member keeps its bound
    } else {
      swap(other);
    }
    return *this;
  }
  ~DDSSequence() { finalize(); }

  /// Makes the sequence empty, whatever the memory contained before. Frees nothing.
  bool initialize() {
    marker_ = DDS_SEQUENCE_MAGIC_NUMBER;
    set_empty();
    read_token1_ = nullptr;
    read_token2_ = nullptr;
    allocation_ = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    deallocation_ = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT;
    absolute_maximum_ = DDS_SEQUENCE_ABSOLUTE_MAXIMUM;
    return true;
  }

  /// Frees an owned buffer; does not touch a lent buffer. The sequence is empty and usable afterwards.
  bool finalize() {
    if (is_initialised() && owned_) release(contiguous_, maximum_);
    set_empty();
    read_token1_ = nullptr;
    read_token2_ = nullptr;
    return true;
  }

  DDS_Long maximum() const { return is_initialised() ? maximum_ : 0; }
  DDS_Long length() const { return is_initialised() ? length_ : 0; }
  DDS_Long absolute_maximum() const { return is_initialised() ? absolute_maximum_ : DDS_SEQUENCE_ABSOLUTE_MAXIMUM; }
  bool maximum(DDS_Long new_max) { return set_maximum(new_max); }
  bool length(DDS_Long new_length) { return set_length(new_length); }
  bool absolute_maximum(DDS_Long new_max) { return set_absolute_maximum(new_max); }

  /// Reallocates the buffer to exactly `new_max` elements and keeps as many valid elements as fit. 0 frees the buffer.
  bool set_maximum(DDS_Long new_max);

  /// Sets the length. Fails if `new_length` is above the maximum.
  bool set_length(DDS_Long new_length) {
    make_initialised();
    if (new_length < 0 || new_length > maximum_)
      return error("set_length", "length %d exceeds the maximum %d", new_length, maximum_);
    length_ = new_length;
    return true;
  }

  /// Sets the length. If the buffer is too small, grows it to `max` elements at once.
  bool ensure_length(DDS_Long new_length, DDS_Long max) {
    make_initialised();
    if (new_length > max) return error("ensure_length", "insufficient space (%d, %d)", new_length, max);
    if (maximum_ < new_length) {
      if (!owned_) return error("ensure_length", "sequence is not the owner of its buffer");
      tessivar::platform::sequence_debug(Ops::name, "ensure_length", "memory allocated (%d, %d)", maximum_, max);
      if (!set_maximum(max)) return error("ensure_length", "insufficient space (%d, %d)", new_length, max);
    }
    if (!set_length(new_length)) return error("ensure_length", "set failure: length");
    return true;
  }

  bool set_absolute_maximum(DDS_Long new_max) {
    make_initialised();
    if (new_max < maximum_) return error("set_absolute_maximum", "new absolute max cannot be smaller than max");
    absolute_maximum_ = new_max;
    return true;
  }

  /// Returns a pointer to element `i`. Returns null and logs one line if `i` is outside 0 … length-1.
  T* get_reference(DDS_Long i) { return find(i, "get_reference"); }
  const T* get_reference(DDS_Long i) const { return const_cast<DDSSequence*>(this)->get_reference(i); }

  /// Returns element `i`. If `i` is outside 0 … length-1, logs one line and returns an element that belongs to no
  /// sequence.
  T& operator[](DDS_Long i) {
    T* element = find(i, "get");
    return element ? *element : nothing();
  }
  const T& operator[](DDS_Long i) const { return const_cast<DDSSequence&>(*this)[i]; }
  T get_at(DDS_Long i) const { return (*this)[i]; }
  bool set_at(DDS_Long i, const T& value) {
    T* element = get_reference(i);
    return element && copy_element(*element, value);
  }

  /// Copies `source`. If its elements do not fit, grows the buffer to the maximum of `source`.
  bool copy(const DDSSequence& source) {
    if (maximum() < source.length() && !set_maximum(source.maximum())) return false;
    return copy_no_alloc(source);
  }

  /// Copies `source` into the present buffer. Fails if its elements do not fit.
  bool copy_no_alloc(const DDSSequence& source) {
    if (this == &source) return true;
    make_initialised();
    const DDS_Long count = source.length();
    if (count > maximum_) return error("copy_no_alloc", "insufficient space (%d, %d)", maximum_, count);
    length_ = count;
    if constexpr (Ops::plain) {
      if (!discontiguous_ && !source.discontiguous_) {
        if (count > 0) std::memcpy(contiguous_, source.contiguous_, sizeof(T) * static_cast<std::size_t>(count));
        return true;
      }
    }
    for (DDS_Long i = 0; i < count; ++i)
      if (!copy_element(*slot(i), *source.slot(i))) return error("copy_no_alloc", "copy failure of element %d", i);
    return true;
  }
  bool copy_no_allocI(const DDSSequence& source) { return copy_no_alloc(source); }

  bool from_array(const T* array, DDS_Long count) {
    DDSSequence view;
    if (!view.loan_contiguous(const_cast<T*>(array), count, count)) return error("from_array", "loan contiguous array");
    const bool copied = copy(view);
    if (!copied) error("from_array", "copying array sequence");
    if (!view.unloan()) return error("from_array", "unloan contiguous array");
    return copied;
  }

  /// Copies the elements into `array`, which must have `count` initialised elements.
  bool to_array(T* array, DDS_Long count) const {
    DDSSequence view;
    if (!view.loan_contiguous(array, 0, count)) return error("to_array", "loan contiguous array");
    const bool copied = view.copy_no_alloc(*this);
    if (!copied) error("to_array", "copying array sequence");
    if (!view.unloan()) return error("to_array", "unloan contiguous array");
    return copied;
  }

  /// Lends a buffer of `new_max` elements to the sequence; the first `new_length` elements are valid. Fails if the
  /// maximum of the sequence is not 0.
  bool loan_contiguous(T* buffer, DDS_Long new_length, DDS_Long new_max) {
    if (!may_loan("loan_contiguous", buffer, new_length, new_max)) return false;
    set_loan(buffer, nullptr, new_length, new_max);
    return true;
  }
  bool loan_discontiguous(T** buffer, DDS_Long new_length, DDS_Long new_max) {
    if (!may_loan("loan_discontiguous", buffer, new_length, new_max)) return false;
    set_loan(nullptr, buffer, new_length, new_max);
    return true;
  }

  /// Ends the loan. The sequence is empty afterwards, and owns the buffer that it allocates next.
  bool unloan() {
    make_initialised();
    if (owned_) return error("unloan", "buffer must be loaned");
    set_empty();
    return true;
  }

  DDS_Boolean has_ownership() const { return is_initialised() ? owned_ : DDS_BOOLEAN_TRUE; }
  T* get_contiguous_buffer() const { return is_initialised() ? contiguous_ : nullptr; }
  T** get_discontiguous_buffer() const { return is_initialised() ? discontiguous_ : nullptr; }
  T* get_contiguous_bufferI() const { return get_contiguous_buffer(); }
  T** get_discontiguous_bufferI() const { return get_discontiguous_buffer(); }

  /// Two pointers that a reader can store in the sequence during a loan.
  bool get_read_tokenI(void** token1, void** token2) const {
    if (!token1 || !token2) return error("get_read_tokenI", "bad parameter: token (NULL)");
    *token1 = is_initialised() ? read_token1_ : nullptr;
    *token2 = is_initialised() ? read_token2_ : nullptr;
    return true;
  }
  void set_read_tokenI(void* token1, void* token2) {
    make_initialised();
    read_token1_ = token1;
    read_token2_ = token2;
  }

  DDS_TypeAllocationParams_t element_allocation_params() const {
    return is_initialised() ? allocation_ : DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
  }
  DDS_TypeDeallocationParams_t element_deallocation_params() const {
    return is_initialised() ? deallocation_ : DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT;
  }
  DDS_Boolean element_pointers_allocation() const { return element_allocation_params().allocate_pointers; }

  /// Sets how elements are initialised from now on. Fails if the maximum is not 0.
  bool element_allocation_params(const DDS_TypeAllocationParams_t& params) {
    make_initialised();
    if (maximum_ != 0)
      return error("set_element_allocation_params",
                   "Member allocation parameters can be configured only when the maximum size of the sequence is 0");
    allocation_ = params;
    return true;
  }
  /// Sets how elements are finalised from now on.
  bool element_deallocation_params(const DDS_TypeDeallocationParams_t& params) {
    make_initialised();
    deallocation_ = params;
    return true;
  }
  bool element_pointers_allocation(DDS_Boolean allocate) {
    make_initialised();
    if (maximum_ != 0)
      return error("set_element_pointers_allocation",
                   "Pointers allocation policy can be configured only when the maximum size of the sequence is 0");
    allocation_.allocate_pointers = allocate;
    return true;
  }

 private:
  // The analyzer assumes that the mark of a sequence that was filled before may be missing.
  // NOLINTBEGIN(clang-analyzer-cplusplus.NewDeleteLeaks)
  bool is_initialised() const { return marker_ == DDS_SEQUENCE_MAGIC_NUMBER; }
  void make_initialised() {
    if (!is_initialised()) initialize();
  }
  void set_empty() {
    owned_ = DDS_BOOLEAN_TRUE;
    contiguous_ = nullptr;
    discontiguous_ = nullptr;
    maximum_ = 0;
    length_ = 0;
  }  // NOLINTEND(clang-analyzer-cplusplus.NewDeleteLeaks)
  bool has(DDS_Long i) const { return i >= 0 && i < length(); }
  T* slot(DDS_Long i) const { return discontiguous_ ? discontiguous_[i] : contiguous_ + i; }

  template <class... Args>
  static bool error(const char* operation, const char* format, Args... args) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    return tessivar::platform::sequence_error(Ops::name, operation, format, args...);
#pragma GCC diagnostic pop
  }
  T* find(DDS_Long i, const char* operation) {
    if (has(i)) [[likely]]
      return slot(i);
    error(operation, "index out of bounds");
    return nullptr;
  }
  static T& nothing() {
    static thread_local T element;
    element = T();
    return element;
  }

  static bool copy_element(T& destination, const T& source) {
    if constexpr (Ops::plain) {
      destination = source;
      return true;
    } else {
      return Ops::copy(destination, source);
    }
  }

  void release(T* buffer, DDS_Long count) {
    if constexpr (!Ops::plain)
      for (DDS_Long i = 0; i < count; ++i) Ops::finalize(buffer[i], deallocation_);
    delete[] buffer;
  }

  bool may_loan(const char* operation, const void* buffer, DDS_Long new_length, DDS_Long new_max) {
    make_initialised();
    if (maximum_ != 0 || !owned_) return error(operation, "max size must be 0");
    if (new_length < 0 || new_max < 0) return error(operation, "negative argument");
    if (new_length > new_max) return error(operation, "insufficient space (%d, %d)", new_max, new_length);
    if (!buffer && new_max != 0) return error(operation, "NULL buffer can't have non-zero maximum");
    if (new_max > absolute_maximum_) return error(operation, "new_max greater than absolute maximum size");
    return true;
  }
  void set_loan(T* contiguous, T** discontiguous, DDS_Long new_length, DDS_Long new_max) {
    contiguous_ = contiguous;
    discontiguous_ = discontiguous;
    owned_ = DDS_BOOLEAN_FALSE;
    length_ = new_length;
    maximum_ = new_max;
  }

  void swap(DDSSequence& other) noexcept {
    std::swap(owned_, other.owned_);
    std::swap(contiguous_, other.contiguous_);
    std::swap(discontiguous_, other.discontiguous_);
    std::swap(maximum_, other.maximum_);
    std::swap(length_, other.length_);
    std::swap(marker_, other.marker_);
    std::swap(read_token1_, other.read_token1_);
    std::swap(read_token2_, other.read_token2_);
    std::swap(allocation_, other.allocation_);
    std::swap(deallocation_, other.deallocation_);
    std::swap(absolute_maximum_, other.absolute_maximum_);
  }

  DDS_Boolean owned_ = DDS_BOOLEAN_TRUE;
  T* contiguous_ = nullptr;
  T** discontiguous_ = nullptr;
  DDS_Long maximum_ = 0;
  DDS_Long length_ = 0;
  DDS_Long marker_ = DDS_SEQUENCE_MAGIC_NUMBER;
  void* read_token1_ = nullptr;
  void* read_token2_ = nullptr;
  DDS_TypeAllocationParams_t allocation_;
  DDS_TypeDeallocationParams_t deallocation_;
  DDS_Long absolute_maximum_ = DDS_SEQUENCE_ABSOLUTE_MAXIMUM;
};

template <class T, class Ops>
bool DDSSequence<T, Ops>::set_maximum(DDS_Long new_max) {
  make_initialised();
  if (new_max < 0) return error("set_maximum", "max size must be positive");
  if (new_max > absolute_maximum_) return error("set_maximum", "new max cannot be larger than absolute maximum");
  if (!owned_) return error("set_maximum", "buffer must not be loaned");
  if (new_max == maximum_) return true;

  T* buffer = nullptr;
  const DDS_Long kept = length_ < new_max ? length_ : new_max;
  if (new_max > 0) {
    const std::size_t octets = sizeof(T) * static_cast<std::size_t>(new_max);
    buffer = new (std::nothrow) T[static_cast<std::size_t>(new_max)]();
    if (!buffer) return error("set_maximum", "memory allocation failure of %zu bytes", octets);
    if constexpr (!Ops::plain) {
      for (DDS_Long i = 0; i < new_max; ++i) {
        if (Ops::initialize(buffer[i], allocation_)) continue;
        release(buffer, i + 1);
        return error("set_maximum", "memory allocation failure of %zu bytes", octets);
      }
    }
    for (DDS_Long i = 0; i < kept; ++i) {
      if (copy_element(buffer[i], contiguous_[i])) continue;
      release(buffer, new_max);
      return error("set_maximum", "copy failure of element %d", i);
    }
  }
  release(contiguous_, maximum_);
  contiguous_ = buffer;
  maximum_ = new_max;
  length_ = kept;
  return true;
}

/// The `Ops` of elements that C++ itself initialises, copies by `=` and destroys.
template <class T, tessivar::platform::Name TypeName>
struct DDSPlainOps {
  static constexpr const char* name = TypeName.text;
  static constexpr bool plain = std::is_trivially_copyable_v<T>;
  static bool initialize(T&, const DDS_TypeAllocationParams_t&) { return true; }
  static void finalize(T&, const DDS_TypeDeallocationParams_t&) {}
  static bool copy(T& destination, const T& source) {
    destination = source;
    return true;
  }
};

/// A sequence of elements with DDSPlainOps. `TypeName` is the name of the sequence type in messages.
template <class T, tessivar::platform::Name TypeName = "DDSPlainSequence">
class DDSPlainSequence : public DDSSequence<T, DDSPlainOps<T, TypeName>> {
  using DDSSequence<T, DDSPlainOps<T, TypeName>>::DDSSequence;
};

struct DDS_OctetSeq : DDSPlainSequence<DDS_Octet, "DDS_OctetSeq"> {
  using DDSPlainSequence<DDS_Octet, "DDS_OctetSeq">::DDSPlainSequence;
};
struct DDS_BooleanSeq : DDSPlainSequence<DDS_Boolean, "DDS_BooleanSeq"> {
  using DDSPlainSequence<DDS_Boolean, "DDS_BooleanSeq">::DDSPlainSequence;
};
struct DDS_LongSeq : DDSPlainSequence<DDS_Long, "DDS_LongSeq"> {
  using DDSPlainSequence<DDS_Long, "DDS_LongSeq">::DDSPlainSequence;
};
struct DDS_UnsignedLongSeq : DDSPlainSequence<DDS_UnsignedLong, "DDS_UnsignedLongSeq"> {
  using DDSPlainSequence<DDS_UnsignedLong, "DDS_UnsignedLongSeq">::DDSPlainSequence;
};
struct DDS_InstanceHandleSeq : DDSPlainSequence<DDS_InstanceHandle_t, "DDS_InstanceHandleSeq"> {
  using DDSPlainSequence<DDS_InstanceHandle_t, "DDS_InstanceHandleSeq">::DDSPlainSequence;
};

/// The `Ops` of strings of any length. The sequence owns its strings; an element may be null.
struct DDS_StringOps {
  static constexpr const char* name = "DDS_StringSeq";
  static constexpr bool plain = false;
  static bool initialize(char*& text, const DDS_TypeAllocationParams_t&) {
    text = nullptr;
    return true;
  }
  static void finalize(char*& text, const DDS_TypeDeallocationParams_t&) {
    DDS_String_free(text);
    text = nullptr;
  }
  static bool copy(char*& destination, char* const& source) {
    return DDS_String_replace(&destination, source) || !source;
  }
};

struct DDS_StringSeq : DDSSequence<char*, DDS_StringOps> {
  using DDSSequence<char*, DDS_StringOps>::DDSSequence;
};
