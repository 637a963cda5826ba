/* The libjpeg error manager both JPEG codecs share: errors (and corrupt-data warnings)
   longjmp back to the codec, which owns no C++ objects in the frame that called setjmp. */
#ifndef QVR_CODECS_JPEG_ERROR_MANAGER_H
#define QVR_CODECS_JPEG_ERROR_MANAGER_H

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>
#include <jerror.h>

namespace qvr {

struct JpegErrorManager {
  jpeg_error_mgr pub;
  jmp_buf jump;
};

// Installs the manager on cinfo's err field; nothing is printed, every failure jumps.
void jpeg_error_manager_install(JpegErrorManager& manager);

}  // namespace qvr

#endif
