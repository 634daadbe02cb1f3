// SPDX-License-Identifier: Apache-2.0

// The default options of the sanitizers for every test program. The environment (ASAN_OPTIONS, …) overrides them.

extern "C" {

// The other vendor's DDS frees objects with a different size than it allocated.
const char* __asan_default_options();
const char* __asan_default_options() {
  return "strict_string_checks=1:detect_stack_use_after_return=1:new_delete_type_mismatch=0";
}

const char* __ubsan_default_options();
const char* __ubsan_default_options() {
  return "print_stacktrace=1";
}

// The engine is not instrumented: its calls of functions such as memcpy are not checked. Its locks still synchronise
// our accesses.
const char* __tsan_default_options();
const char* __tsan_default_options() {
  return "ignore_noninstrumented_modules=1:second_deadlock_stack=1:halt_on_error=1";
}

}  // extern "C"
