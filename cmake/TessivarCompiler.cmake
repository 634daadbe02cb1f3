# Language, warnings, sanitizers and the compiler cache, for everything that is built here.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

add_library(tessivar_flags INTERFACE)
target_compile_options(tessivar_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion> $<$<BOOL:${TESSIVAR_WERROR}>:-Werror>)

# The library's own calls of its exported functions need no detour through the symbol table.
add_compile_options(-fno-semantic-interposition)

if(TESSIVAR_SANITIZE)
  add_compile_options(-fsanitize=${TESSIVAR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TESSIVAR_SANITIZE})
  add_compile_definitions(TESSIVAR_SANITIZED)  # one name for what each compiler calls in its own way
endif()
if(TESSIVAR_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

if(TESSIVAR_CCACHE)
  find_program(TESSIVAR_CCACHE_PROGRAM ccache)
  if(TESSIVAR_CCACHE_PROGRAM)
    # Two clones share results (base_dir, no hash_dir); precompiled headers need the sloppiness and, with Clang, no
    # timestamp in them.
    set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${TESSIVAR_CCACHE_PROGRAM})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
      add_compile_options("SHELL:$<$<COMPILE_LANGUAGE:CXX>:-Xclang -fno-pch-timestamp>")
    endif()
  endif()
endif()
