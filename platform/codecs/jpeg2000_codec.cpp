/* JPEG 2000 (JP2 files, raw codestreams on reading) through OpenJPEG, which the layer links;
   the compression factor maps to a rate (1.0 is lossless). */
#include <algorithm>
#include <cmath>
#include <cstring>

#include <openjpeg.h>

#include "codecs/codecs.h"

namespace qvr {

namespace {

void quiet(const char*, void*) {}

struct MemoryStream {
  const uint8_t* source = nullptr;
  std::vector<uint8_t>* sink = nullptr;
  size_t size = 0;
  size_t position = 0;
};

OPJ_SIZE_T read_fn(void* buffer, OPJ_SIZE_T length, void* user) {
  MemoryStream* s = static_cast<MemoryStream*>(user);
  if (s->position >= s->size) return OPJ_SIZE_T(-1);
  const size_t n = std::min(size_t(length), s->size - s->position);
  std::memcpy(buffer, s->source + s->position, n);
  s->position += n;
  return n;
}

OPJ_SIZE_T write_fn(void* buffer, OPJ_SIZE_T length, void* user) {
  MemoryStream* s = static_cast<MemoryStream*>(user);
  if (s->position + length > s->sink->size()) s->sink->resize(s->position + length);
  std::memcpy(s->sink->data() + s->position, buffer, length);
  s->position += length;
  s->size = std::max(s->size, s->position);
  return length;
}

OPJ_OFF_T skip_fn(OPJ_OFF_T offset, void* user) {
  MemoryStream* s = static_cast<MemoryStream*>(user);
  const int64_t target = int64_t(s->position) + offset;
  if (target < 0 || (s->source != nullptr && size_t(target) > s->size)) return -1;
  s->position = size_t(target);
  return offset;
}

OPJ_BOOL seek_fn(OPJ_OFF_T offset, void* user) {
  MemoryStream* s = static_cast<MemoryStream*>(user);
  if (offset < 0 || (s->source != nullptr && size_t(offset) > s->size)) return OPJ_FALSE;
  s->position = size_t(offset);
  return OPJ_TRUE;
}

opj_stream_t* make_stream(MemoryStream& memory, bool input) {
  opj_stream_t* stream = opj_stream_create(1 << 16, input ? OPJ_TRUE : OPJ_FALSE);
  if (stream == nullptr) return nullptr;
  opj_stream_set_user_data(stream, &memory, nullptr);
  if (input) {
    opj_stream_set_read_function(stream, read_fn);
    opj_stream_set_user_data_length(stream, memory.size);
  } else {
    opj_stream_set_write_function(stream, write_fn);
  }
  opj_stream_set_skip_function(stream, skip_fn);
  opj_stream_set_seek_function(stream, seek_fn);
  return stream;
}

void silence(opj_codec_t* codec) {
  opj_set_info_handler(codec, quiet, nullptr);
  opj_set_warning_handler(codec, quiet, nullptr);
  opj_set_error_handler(codec, quiet, nullptr);
}

// Components of one size and precision, 1 to 4 of them, become grey or RGB with alpha.
bool image_to_frame(const opj_image_t* image, Frame& out) {
  const int count = int(image->numcomps);
  if (count < 1 || count > 4) return false;
  const opj_image_comp_t& c0 = image->comps[0];
  if (c0.w == 0 || c0.h == 0 || c0.prec == 0 || c0.prec > 16) return false;
  for (int i = 0; i < count; ++i) {
    const opj_image_comp_t& c = image->comps[i];
    if (c.w != c0.w || c.h != c0.h || c.prec != c0.prec || c.data == nullptr || c.dx != 1 || c.dy != 1) return false;
  }
  const bool alpha = count == 2 || count == 4;
  const int bits = c0.prec > 8 ? 16 : 8;
  if (!out.raster.allocate(int(c0.w), int(c0.h), count, bits, alpha)) return false;
  const int64_t in_max = (int64_t(1) << c0.prec) - 1, out_max = bits == 16 ? 65535 : 255;
  for (int y = 0; y < out.raster.height; ++y) {
    uint8_t* row = out.raster.row(y);
    for (int x = 0; x < out.raster.width; ++x) {
      for (int i = 0; i < count; ++i) {
        int64_t v = image->comps[i].data[size_t(y) * c0.w + size_t(x)];
        if (image->comps[i].sgnd) v += int64_t(1) << (c0.prec - 1);
        v = std::max<int64_t>(0, std::min(in_max, v));
        const int64_t scaled = (v * out_max + in_max / 2) / in_max;
        if (bits == 16) {
          const uint16_t w = uint16_t(scaled);
          std::memcpy(row + (size_t(x) * count + size_t(i)) * 2, &w, 2);
        } else {
          row[size_t(x) * count + size_t(i)] = uint8_t(scaled);
        }
      }
    }
  }
  return true;
}

}  // namespace

bool jpeg2000_available() { return true; }

bool jpeg2000_decode(const uint8_t* data, size_t size, Frame& out) {
  const ImageFormat format = sniff_image_format(data, size);
  if (format != ImageFormat::jpeg2000) return false;
  const bool codestream = size >= 4 && data[0] == 0xFF && data[1] == 0x4F;
  opj_codec_t* codec = opj_create_decompress(codestream ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
  if (codec == nullptr) return false;
  silence(codec);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  MemoryStream memory;
  memory.source = data;
  memory.size = size;
  opj_stream_t* stream = make_stream(memory, true);
  opj_image_t* image = nullptr;
  bool ok = stream != nullptr && opj_setup_decoder(codec, &parameters) &&
            opj_read_header(stream, codec, &image) && image != nullptr;
  if (ok) {
    const uint64_t w = image->x1 - image->x0, h = image->y1 - image->y0;
    ok = w > 0 && h > 0 && w <= uint64_t(kMaxDimension) && h <= uint64_t(kMaxDimension) &&
         int64_t(w * h) <= kMaxPixels;
    // OpenJPEG keeps four bytes a sample while it decodes, and a codestream of a few dozen
    // bytes may declare the largest picture there is: beyond a million pixels, the data
    // must bring a byte for every 4,096 of them (as the BMP and GIF readers ask).
    if (ok && too_little_data_for(int64_t(w * h), int64_t(size))) ok = false;
  }
  ok = ok && opj_decode(codec, stream, image) && opj_end_decompress(codec, stream);
  ok = ok && image_to_frame(image, out);
  if (image) opj_image_destroy(image);
  if (stream) opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  if (!ok) out = Frame();
  return ok;
}

bool jpeg2000_encode(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& out) {
  if (raster.empty()) return false;
  const int count = raster.samples;
  opj_image_cmptparm_t components[4];
  std::memset(components, 0, sizeof components);
  for (int i = 0; i < count; ++i) {
    components[i].dx = components[i].dy = 1;
    components[i].w = OPJ_UINT32(raster.width);
    components[i].h = OPJ_UINT32(raster.height);
    components[i].prec = OPJ_UINT32(raster.bits);
    components[i].sgnd = 0;
  }
  opj_image_t* image =
      opj_image_create(OPJ_UINT32(count), components, raster.colour_samples() == 1 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB);
  if (image == nullptr) return false;
  image->x0 = image->y0 = 0;
  image->x1 = OPJ_UINT32(raster.width);
  image->y1 = OPJ_UINT32(raster.height);
  if (raster.alpha) image->comps[count - 1].alpha = 1;
  // JPEG 2000 keeps straight alpha: premultiplied samples are divided back.
  Raster straight;
  const Raster* source = &raster;
  if (raster.alpha && raster.premultiplied) {
    straight = raster;
    if (straight.storage.empty()) {
      straight.allocate(raster.width, raster.height, raster.samples, raster.bits, true);
      for (int y = 0; y < raster.height; ++y) std::memcpy(straight.row(y), raster.row(y), straight.stride);
      straight.premultiplied = true;
    }
    raster_unpremultiply(straight);
    source = &straight;
  }
  for (int y = 0; y < raster.height; ++y) {
    const uint8_t* row = source->row(y);
    for (int x = 0; x < raster.width; ++x) {
      for (int i = 0; i < count; ++i) {
        const size_t index = size_t(x) * count + size_t(i);
        int32_t v;
        if (raster.bits == 16) {
          uint16_t w;
          std::memcpy(&w, row + index * 2, 2);
          v = w;
        } else {
          v = row[index];
        }
        image->comps[i].data[size_t(y) * raster.width + size_t(x)] = v;
      }
    }
  }
  opj_cparameters_t parameters;
  opj_set_default_encoder_parameters(&parameters);
  parameters.tcp_numlayers = 1;
  parameters.cp_disto_alloc = 1;
  const float factor = std::max(0.0f, std::min(1.0f, options.quality));
  if (factor >= 1.0f) {
    parameters.tcp_rates[0] = 0;  // lossless, reversible wavelet
  } else {
    parameters.irreversible = 1;
    parameters.tcp_rates[0] = 1.0f + 99.0f * (1.0f - factor) * (1.0f - factor);
  }
  int resolutions = 1;
  while (resolutions < 6 && (1 << resolutions) <= std::min(raster.width, raster.height)) ++resolutions;
  parameters.numresolution = resolutions;
  opj_codec_t* codec = opj_create_compress(OPJ_CODEC_JP2);
  bool ok = codec != nullptr;
  MemoryStream memory;
  memory.sink = &out;
  out.clear();
  opj_stream_t* stream = nullptr;
  if (ok) {
    silence(codec);
    stream = make_stream(memory, false);
    ok = stream != nullptr && opj_setup_encoder(codec, &parameters, image) &&
         opj_start_compress(codec, image, stream) && opj_encode(codec, stream) &&
         opj_end_compress(codec, stream);
  }
  if (stream) opj_stream_destroy(stream);
  if (codec) opj_destroy_codec(codec);
  opj_image_destroy(image);
  if (ok) out.resize(memory.size);
  else out.clear();
  return ok && !out.empty();
}

}  // namespace qvr
