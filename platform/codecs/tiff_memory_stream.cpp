/* The client I/O callbacks that let libtiff read a byte range and write into a vector, and
   open options that silence its messages and bound its allocations. */
#include "codecs/tiff_memory_stream.h"

#include <cstring>

namespace qvr {

namespace {

tmsize_t read_proc(thandle_t handle, void* buffer, tmsize_t length) {
  TiffMemoryStream* stream = static_cast<TiffMemoryStream*>(handle);
  if (length < 0 || stream->position >= stream->size) return 0;
  size_t n = size_t(length);
  if (n > stream->size - stream->position) n = stream->size - stream->position;
  const uint8_t* from = stream->source ? stream->source : stream->sink->data();
  std::memcpy(buffer, from + stream->position, n);
  stream->position += n;
  return tmsize_t(n);
}

tmsize_t write_proc(thandle_t handle, void* buffer, tmsize_t length) {
  TiffMemoryStream* stream = static_cast<TiffMemoryStream*>(handle);
  if (stream->sink == nullptr || length < 0) return -1;
  const size_t end = stream->position + size_t(length);
  if (end > stream->sink->size()) stream->sink->resize(end);
  std::memcpy(stream->sink->data() + stream->position, buffer, size_t(length));
  stream->position = end;
  if (end > stream->size) stream->size = end;
  return length;
}

toff_t seek_proc(thandle_t handle, toff_t offset, int whence) {
  TiffMemoryStream* stream = static_cast<TiffMemoryStream*>(handle);
  uint64_t base = 0;
  if (whence == SEEK_CUR) base = stream->position;
  else if (whence == SEEK_END) base = stream->size;
  const uint64_t target = base + offset;
  // Reading may not seek past the end; writing may (the gap is zero-filled on write).
  if (stream->sink == nullptr && target > stream->size) return toff_t(-1);
  if (target > (uint64_t(1) << 40)) return toff_t(-1);
  stream->position = size_t(target);
  return target;
}

int close_proc(thandle_t) { return 0; }

toff_t size_proc(thandle_t handle) { return static_cast<TiffMemoryStream*>(handle)->size; }

int map_proc(thandle_t, void**, toff_t*) { return 0; }
void unmap_proc(thandle_t, void*, toff_t) {}

int quiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }

}  // namespace

TIFF* tiff_open_memory(TiffMemoryStream& stream, const char* mode) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (options == nullptr) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options, quiet, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, quiet, nullptr);
  TIFFOpenOptionsSetMaxSingleMemAlloc(options, tmsize_t(1) << 30);
  TIFF* tif = TIFFClientOpenExt("memory", mode, &stream, read_proc, write_proc, seek_proc, close_proc,
                                size_proc, map_proc, unmap_proc, options);
  TIFFOpenOptionsFree(options);
  return tif;
}

}  // namespace qvr
