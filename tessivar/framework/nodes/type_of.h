// SPDX-License-Identifier: Apache-2.0

// From a sample's type to what belongs to it.
#pragma once

namespace TessivarDDS {

/// The type support, sequence, reader and writer of the samples of type T. The types of the data model name their own;
/// specialise it for a type that does not.
template <class T>
struct TypeOf {
  typedef typename T::TypeSupport TypeSupport;
  typedef typename T::Seq Seq;
  typedef typename T::DataReader DataReader;
  typedef typename T::DataWriter DataWriter;
  /// The name that the type is registered under.
  static const char* name() { return TypeSupport::get_type_name(); }
};

}  // namespace TessivarDDS
