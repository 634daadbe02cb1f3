// SPDX-License-Identifier: Apache-2.0

// The bodies of the named functions of a type, by its kind: they check their arguments and call the operations on
// samples.
#pragma once

#include "tessivar/types/family/memory.h"
#include "tessivar/types/family/print_sample.h"
#include "tessivar/types/family/type_codes.h"

#include <cstring>
#include <exception>

namespace tessivar::types {

template <class Kind>
struct Support {
  typedef typename Kind::type T;

  static Allocation allocation(RTIBool allocate_pointers, RTIBool allocate_memory) {
    Allocation params;
    params.allocate_pointers = allocate_pointers != 0;
    params.allocate_memory = allocate_memory != 0;
    return params;
  }
  static Deallocation deallocation(RTIBool delete_pointers) {
    Deallocation params;
    params.delete_pointers = delete_pointers != 0;
    return params;
  }

  static RTIBool initialize_w_params(T* sample, const Allocation* params) {
    return sample && params && initialize(Kind(), *sample, *params);
  }
  static RTIBool initialize_ex(T* sample, RTIBool allocate_pointers, RTIBool allocate_memory) {
    const Allocation params = allocation(allocate_pointers, allocate_memory);
    return initialize_w_params(sample, &params);
  }
  static void finalize_w_params(T* sample, const Deallocation* params) {
    if (sample && params) finalize(Kind(), *sample, *params);
  }
  static void finalize_ex(T* sample, RTIBool delete_pointers) {
    const Deallocation params = deallocation(delete_pointers);
    finalize_w_params(sample, &params);
  }
  static void finalize_optional_members(T* sample, RTIBool delete_pointers) {
    if (sample) finalize_optional(Kind(), *sample, deallocation(delete_pointers));
  }
  static RTIBool copy_sample(T* destination, const T* source) {
    if (!destination || !source) return RTI_FALSE;
    return destination == source || copy(Kind(), *destination, *source);
  }

  static T* create_w_params(const Allocation* params) { return params ? create(Kind(), *params) : nullptr; }
  static T* create_ex(RTIBool allocate_pointers) {
    const Allocation params = allocation(allocate_pointers, RTI_TRUE);
    return create(Kind(), params);
  }
  static void destroy_w_params(T* sample, const Deallocation* params) {
    if (params) destroy(Kind(), sample, *params);
  }
  static void destroy_ex(T* sample, RTIBool delete_pointers) { destroy(Kind(), sample, deallocation(delete_pointers)); }
  /// A key holder is a whole sample. It is returned even if the memory for one of its members is short.
  static T* create_key_ex(RTIBool allocate_pointers) {
    auto* holder = new (std::nothrow) T();
    initialize_ex(holder, allocate_pointers, RTI_TRUE);
    return holder;
  }

  static void print_data(const T* sample, const char* description, unsigned int indent) noexcept try {
    Printer printer;
    print(Kind(), printer, sample, description, indent);
    printer.flush();
  } catch (const std::exception&) {  // memory is short: nothing is printed
  }

  /// Writes the text of print_data. `size` becomes the size that the text needs, terminator included. If `text` is
  /// null, only `size` is set. Returns false if `text` is too small or memory is short.
  static RTIBool data_to_string(const T* sample, char* text, DDS_UnsignedLong* size) noexcept try {
    if (!sample || !size) return RTI_FALSE;
    Printer printer;
    print(Kind(), printer, sample, short_name(NameOf<Kind>::value).data(), 0);
    const std::size_t needed = printer.text().size() + 1;
    const bool fits = text && *size >= needed;
    if (fits) std::memcpy(text, printer.text().c_str(), needed);
    *size = static_cast<DDS_UnsignedLong>(needed);
    return fits || !text;
  } catch (const std::exception&) {
    return RTI_FALSE;
  }
};

}  // namespace tessivar::types
