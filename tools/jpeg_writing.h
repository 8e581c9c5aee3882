#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

// It needs FILE and size_t to be declared.
#include <jpeglib.h>

namespace brindle {

/// Pixels as a picture file: gray with one byte a pixel, coloured with three. What the library
/// cannot do ends the program, which is right for a build step and for a test.
inline std::vector<std::uint8_t> jpegOf(std::vector<std::uint8_t> pixels, unsigned width,
                                        int components, int quality, bool progressive = false) {
  jpeg_error_mgr errors{};
  jpeg_compress_struct info{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* out = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &out, &size);
  const unsigned row = width * static_cast<unsigned>(components);
  info.image_width = width;
  info.image_height = static_cast<unsigned>(pixels.size()) / row;
  info.input_components = components;
  info.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, quality, TRUE);
  if (progressive) jpeg_simple_progression(&info);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    JSAMPROW line = pixels.data() + std::size_t{row} * info.next_scanline;
    jpeg_write_scanlines(&info, &line, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::vector<std::uint8_t> bytes(out, out + size);
  std::free(out);
  return bytes;
}

}  // namespace brindle
