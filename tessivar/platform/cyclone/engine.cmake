# SPDX-License-Identifier: Apache-2.0

# Finds Eclipse Cyclone DDS with pkg-config and defines the target tessivar_engine, which the platform links.

find_package(PkgConfig REQUIRED)
pkg_check_modules(CycloneDDS REQUIRED IMPORTED_TARGET CycloneDDS)
if(NOT (CycloneDDS_VERSION VERSION_GREATER_EQUAL 0.10.2 AND CycloneDDS_VERSION VERSION_LESS 0.11))
  message(FATAL_ERROR "Cyclone DDS ${CycloneDDS_VERSION} found; 0.10.2 or a later 0.10.x is needed (Debian 12: "
    "cyclonedds-dev).")
endif()

add_library(tessivar_engine INTERFACE)
target_link_libraries(tessivar_engine INTERFACE PkgConfig::CycloneDDS ${CMAKE_DL_LIBS})

# Some features need the engine's internals. They are built if internals/ compiles and links with the engine that was
# found. Otherwise the log says at run time which features are missing.
set(checked TESSIVAR_CYCLONE_${CycloneDDS_VERSION}_INTERNALS)
if(NOT DEFINED ${checked})
  message(CHECK_START "Internals of Cyclone DDS ${CycloneDDS_VERSION}")
  set(folder ${CMAKE_CURRENT_LIST_DIR}/internals)
  file(WRITE ${PROJECT_BINARY_DIR}/engine_check/main.c "int main(void) { return 0; }\n")
  file(GLOB sources ${folder}/*.c)
  try_compile(${checked} ${PROJECT_BINARY_DIR}/engine_check
    SOURCES ${PROJECT_BINARY_DIR}/engine_check/main.c ${sources}
    COMPILE_DEFINITIONS -DTESSIVAR_ENGINE_INTERNALS=1
    LINK_LIBRARIES PkgConfig::CycloneDDS ${CMAKE_DL_LIBS} Threads::Threads
    CMAKE_FLAGS -DINCLUDE_DIRECTORIES=${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE said C_STANDARD 11)
  if(${checked})
    message(CHECK_PASS "usable")
  else()
    message(CHECK_FAIL "not usable")
    file(WRITE ${PROJECT_BINARY_DIR}/engine_check/log "${said}")
    message(WARNING "Cyclone DDS ${CycloneDDS_VERSION}: the library is built without the features that need its "
      "internals (see ${PROJECT_BINARY_DIR}/engine_check/log).")
  endif()
endif()
target_compile_definitions(tessivar_engine INTERFACE TESSIVAR_ENGINE_INTERNALS=$<BOOL:${${checked}}>)
