// SPDX-License-Identifier: Apache-2.0

// How the sanitizers run in every test program, whoever starts it. The environment (ASAN_OPTIONS, …) comes on top.

extern "C" {

// The other make of the bus frees objects under another size than it allocated them with.
const char* __asan_default_options();
const char* __asan_default_options() {
  return "strict_string_checks=1:detect_stack_use_after_return=1:new_delete_type_mismatch=0";
}

const char* __ubsan_default_options();
const char* __ubsan_default_options() {
  return "print_stacktrace=1";
}

// The engine is not instrumented: what it does to memory inside memcpy and the like is not judged, its locks still
// order our accesses.
const char* __tsan_default_options();
const char* __tsan_default_options() {
  return "ignore_noninstrumented_modules=1:second_deadlock_stack=1:halt_on_error=1";
}

}  // extern "C"
