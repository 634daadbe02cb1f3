# SPDX-License-Identifier: Apache-2.0

# Reads the version from tessivar/version.h. Sets TESSIVAR_VERSION (MAJOR.MINOR.PATCH) and TESSIVAR_ABI_NUMBER.

set(TESSIVAR_VERSION "")
set(version_header ${CMAKE_CURRENT_LIST_DIR}/../tessivar/version.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${version_header})
foreach(part VERSION_MAJOR VERSION_MINOR VERSION_PATCH ABI_NUMBER)
  file(STRINGS ${version_header} line REGEX "^#define TESSIVAR_${part} [0-9]+$")
  if(NOT line)
    message(FATAL_ERROR "${version_header} defines no number TESSIVAR_${part}")
  endif()
  string(REGEX REPLACE ".* " "" TESSIVAR_${part} "${line}")
endforeach()
set(TESSIVAR_VERSION ${TESSIVAR_VERSION_MAJOR}.${TESSIVAR_VERSION_MINOR}.${TESSIVAR_VERSION_PATCH})
