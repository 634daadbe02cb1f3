// SPDX-License-Identifier: Apache-2.0

// The classes that belong to a sample type.
#pragma once

namespace TessivarDDS {

/// The type support, sequence, reader and writer of the sample type T. The types of the data model name these classes
/// as members. Specialise TypeOf for a type without these members.
template <class T>
struct TypeOf {
  typedef typename T::TypeSupport TypeSupport;
  typedef typename T::Seq Seq;
  typedef typename T::DataReader DataReader;
  typedef typename T::DataWriter DataWriter;
  /// Returns the name under which the type is registered.
  static const char* name() { return TypeSupport::get_type_name(); }
};

}  // namespace TessivarDDS
