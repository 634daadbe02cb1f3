# Eclipse Cyclone DDS and how much of it may be used.
#
# Sets TESSIVAR_ENGINE_INTERNALS to 1 when the engine is exactly the version whose internal structures the platform
# knows; with another 0.10 the public interface serves alone.

find_package(PkgConfig REQUIRED)
pkg_check_modules(CycloneDDS REQUIRED IMPORTED_TARGET CycloneDDS)

if(CycloneDDS_VERSION VERSION_EQUAL 0.10.2)
  set(TESSIVAR_ENGINE_INTERNALS 1)
elseif(CycloneDDS_VERSION VERSION_GREATER_EQUAL 0.10 AND CycloneDDS_VERSION VERSION_LESS 0.11)
  set(TESSIVAR_ENGINE_INTERNALS 0)
  message(WARNING "Cyclone DDS ${CycloneDDS_VERSION} is not the 0.10.2 that this was made with: ignoring participants, "
    "adding peers at run time and waiting for history will report themselves as unavailable.")
else()
  message(FATAL_ERROR "Cyclone DDS ${CycloneDDS_VERSION} found; 0.10.2 is needed (Debian 12: cyclonedds-dev).")
endif()
