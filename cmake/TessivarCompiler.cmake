# SPDX-License-Identifier: Apache-2.0

# Language, warnings, sanitizers and the compiler cache of this project's targets. Each target links tessivar_flags. The
# targets of a project that contains this project are not affected.

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# A project that contains this project sets its build type itself.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

add_library(tessivar_flags INTERFACE)
# The library's own calls of its exported functions do not need the symbol table.
check_cxx_compiler_flag(-fno-semantic-interposition TESSIVAR_HAS_NO_SEMANTIC_INTERPOSITION)
if(TESSIVAR_HAS_NO_SEMANTIC_INTERPOSITION)
  target_compile_options(tessivar_flags INTERFACE -fno-semantic-interposition)
endif()
if(TESSIVAR_SANITIZE)
  target_compile_options(tessivar_flags INTERFACE
    -fsanitize=${TESSIVAR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(tessivar_flags INTERFACE -fsanitize=${TESSIVAR_SANITIZE})
  target_compile_definitions(tessivar_flags INTERFACE TESSIVAR_SANITIZED)  # each compiler has its own macro for this
endif()
if(TESSIVAR_COVERAGE)
  target_compile_options(tessivar_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(tessivar_flags INTERFACE --coverage)
endif()

# ccache is searched once for a build directory: if it were used from a later time on, all commands would change, and
# all files would be compiled again.
if(TESSIVAR_CCACHE AND NOT DEFINED CACHE{TESSIVAR_CCACHE_PROGRAM})
  find_program(ccache ccache NO_CACHE)
  if(NOT ccache)
    set(ccache "")
  endif()
  set(TESSIVAR_CCACHE_PROGRAM "${ccache}" CACHE FILEPATH "ccache, or empty to compile without it")
endif()
if(TESSIVAR_CCACHE AND TESSIVAR_CCACHE_PROGRAM)
  # Two clones share results (base_dir, no hash_dir). Precompiled headers need the sloppiness options, and with Clang
  # they must contain no timestamp.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${TESSIVAR_CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    target_compile_options(tessivar_flags INTERFACE "SHELL:$<$<COMPILE_LANGUAGE:CXX>:-Xclang -fno-pch-timestamp>")
  endif()
endif()

if(MSVC)
  target_compile_options(tessivar_flags INTERFACE /W4 $<$<BOOL:${TESSIVAR_WERROR}>:/WX>)
else()
  target_compile_options(tessivar_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow
    $<$<COMPILE_LANGUAGE:CXX>:-Wconversion> $<$<BOOL:${TESSIVAR_WERROR}>:-Werror>)
endif()

# Clang checks the marks of tessivar/platform/detail/thread_safety.h. The beta checks the order of locks.
set(tessivar_thread_safety_flags -Wthread-safety -Wthread-safety-beta -Werror=thread-safety)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  target_compile_options(tessivar_flags INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:${tessivar_thread_safety_flags}>")
endif()

# tessivar_linker_rules(TARGET FILE): limits the exports of the shared library with a version script, if the linker
# accepts one (ELF); otherwise only visibility decides. Every symbol that the library uses must be defined when it is
# linked, except in a sanitizer's build, where the program defines the sanitizer's symbols.
check_linker_flag(CXX LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/tessivardds.map TESSIVAR_HAS_VERSION_SCRIPT)
check_linker_flag(CXX LINKER:-z,defs TESSIVAR_HAS_Z_DEFS)
function(tessivar_linker_rules target file)
  if(TESSIVAR_HAS_VERSION_SCRIPT)
    target_link_options(${target} PRIVATE LINKER:--version-script=${file})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${file})
  endif()
  if(TESSIVAR_HAS_Z_DEFS AND NOT TESSIVAR_SANITIZE)
    target_link_options(${target} PRIVATE LINKER:-z,defs)
  endif()
endfunction()
