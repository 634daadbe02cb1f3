// Marks what the shared library exports; everything else stays hidden. Every public header includes this.
#pragma once

#define TESSIVAR_API __attribute__((visibility("default")))

// Eclipse Cyclone's <dds/dds.h> gives names as DDS_RETCODE_TIMEOUT to macros of other values, so that a file that
// includes both would go wrong in silence. It does not compile: with <dds/dds.h> first it stops here, otherwise at the
// declaration below, which contradicts that of <dds/dds.h>.
#ifdef DDS_RETCODE_OK
#error "<dds/dds.h> and TessivarDDS define the same names: a file includes the one or the other, not both"
#include <stop: see the error above>
#endif
namespace tessivar {
struct a_file_includes_dds_dds_h_or_TessivarDDS_not_both;
}
extern "C" void dds_notify_readers(tessivar::a_file_includes_dds_dds_h_or_TessivarDDS_not_both*);
