/* libjpeg's failures as longjmps: a fatal error or a warning that the data is corrupt or
   cut short ends the decode, so bad input yields no image rather than a grey-filled one. */
#include "codecs/jpeg_error_manager.h"

namespace qvr {

namespace {

[[noreturn]] void jump_back(j_common_ptr cinfo) {
  JpegErrorManager* manager = reinterpret_cast<JpegErrorManager*>(cinfo->err);
  std::longjmp(manager->jump, 1);
}

void on_message(j_common_ptr cinfo, int level) {
  // Level -1 is a warning about the data. Stray bytes between markers are harmless and
  // common in camera files; anything else means pixels would be invented.
  if (level < 0 && cinfo->err->msg_code != JWRN_EXTRANEOUS_DATA) jump_back(cinfo);
}

void print_nothing(j_common_ptr) {}

}  // namespace

void jpeg_error_manager_install(JpegErrorManager& manager) {
  jpeg_std_error(&manager.pub);
  manager.pub.error_exit = jump_back;
  manager.pub.emit_message = on_message;
  manager.pub.output_message = print_nothing;
}

}  // namespace qvr
