// Build banner: "#@# " + the library's file name + " Unofficial Build " + the
// UTC build time as date(1) prints it. Nothing in the library reads it; it is
// there to be found in the file and read by the host.
#include "version.h"

#include "build_stamp.h"

extern "C" {
const char *gVersion = "#@# " EDC_LIBRARY_FILE_NAME " Unofficial Build " EDC_BUILD_STAMP;
}
