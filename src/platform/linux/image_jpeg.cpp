#include "platform/linux/image_jpeg.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>

// Last: they need FILE and size_t to be declared.
#include <jerror.h>
#include <jpeglib.h>

namespace brindle {
namespace {

constexpr unsigned wantedSide = 32;
// A header of a few bytes may claim 65500 by 65500 pixels, and a progressive picture is decoded in
// memory as a whole. No camera here comes near these.
constexpr std::uint64_t mostPixels = 50'000'000;
constexpr int mostScans = 100;

/// The library reports errors by a jump, so nothing with a destructor lives in the functions below.
struct Decoder {
  jpeg_decompress_struct info{};  // first: the library hands back pointers to it
  jpeg_error_mgr errors{};
  jpeg_progress_mgr progress{};
  std::jmp_buf failed{};
  bool damaged = false;
  std::uint64_t sum = 0;
  std::uint64_t samples = 0;
};

Decoder& decoderOf(j_common_ptr info) { return *reinterpret_cast<Decoder*>(info); }

[[noreturn]] void fail(j_common_ptr info) { std::longjmp(decoderOf(info).failed, 1); }

/// Missing data is only a warning to the library, which fills the gap with mid-gray: a dark picture
/// cut in half would look lit. Stray bytes and an unknown colour mark leave every sample in place.
void hear(j_common_ptr info, int level) {
  if (level >= 0) return;
  const int code = info->err->msg_code;
  if (code != JWRN_EXTRANEOUS_DATA && code != JWRN_ADOBE_XFORM) decoderOf(info).damaged = true;
}

/// Each scan of a progressive picture costs a pass over all of it.
void limitScans(j_common_ptr info) {
  if (decoderOf(info).info.input_scan_number > mostScans) fail(info);
}

void open(Decoder& decoder, ByteView encoded) {
  jpeg_create_decompress(&decoder.info);
  decoder.progress.progress_monitor = limitScans;
  decoder.info.progress = &decoder.progress;
  jpeg_mem_src(&decoder.info, encoded.data(), encoded.size());
  jpeg_read_header(&decoder.info, TRUE);
}

/// The coarsest scale (down to an eighth, which decodes block means only) that keeps the longest
/// side at 32 samples or more.
unsigned scaleFor(unsigned longestSide) {
  unsigned denominator = 8;
  while (denominator > 1 && longestSide / denominator < wantedSide) denominator /= 2;
  return denominator;
}

void addRows(Decoder& decoder) {
  jpeg_decompress_struct& info = decoder.info;
  JSAMPARRAY row = info.mem->alloc_sarray(reinterpret_cast<j_common_ptr>(&info), JPOOL_IMAGE,
                                          info.output_width, 1);
  while (info.output_scanline < info.output_height) {
    jpeg_read_scanlines(&info, row, 1);
    for (JDIMENSION x = 0; x < info.output_width; ++x) decoder.sum += row[0][x];
    decoder.samples += info.output_width;
  }
}

void decode(Decoder& decoder, ByteView encoded) {
  open(decoder, encoded);
  jpeg_decompress_struct& info = decoder.info;
  if (std::uint64_t{info.image_width} * info.image_height > mostPixels) {
    decoder.damaged = true;
    return;
  }
  info.out_color_space = JCS_GRAYSCALE;
  info.scale_num = 1;
  info.scale_denom = scaleFor(std::max(info.image_width, info.image_height));
  jpeg_start_decompress(&info);
  addRows(decoder);
}

/// False when the library gave up.
bool decoded(Decoder& decoder, ByteView encoded) {
  if (setjmp(decoder.failed) != 0) return false;
  decode(decoder, encoded);
  return true;
}

}  // namespace

std::optional<double> JpegImageReader::meanBrightness(ByteView encoded) const {
  if (encoded.empty()) return std::nullopt;
  Decoder decoder;
  decoder.info.err = jpeg_std_error(&decoder.errors);
  decoder.errors.error_exit = fail;
  decoder.errors.emit_message = hear;
  const bool whole = decoded(decoder, encoded) && !decoder.damaged && decoder.samples > 0;
  jpeg_destroy_decompress(&decoder.info);
  if (!whole) return std::nullopt;
  return static_cast<double>(decoder.sum) / (static_cast<double>(decoder.samples) * 255.0);
}

ServiceReport JpegImageReader::report() const {
  return {"image", "libjpeg-turbo", true, "measures the brightness of JPEG photos"};
}

}  // namespace brindle
