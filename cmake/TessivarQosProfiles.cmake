# SPDX-License-Identifier: Apache-2.0

# Compiles the QoS profiles of qos/ into the library.
set(profiles ${PROJECT_SOURCE_DIR}/qos/tessivar_qos_profiles.xml)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${profiles})
file(READ ${profiles} TESSIVAR_QOS_PROFILES)
configure_file(${PROJECT_SOURCE_DIR}/cmake/qos_profiles_embedded.cpp.in ${PROJECT_BINARY_DIR}/qos_profiles_embedded.cpp @ONLY)
target_sources(tessivar_platform PRIVATE ${PROJECT_BINARY_DIR}/qos_profiles_embedded.cpp)
