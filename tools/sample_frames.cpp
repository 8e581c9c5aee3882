// Renders the sample frames: somebody in front of the camera, in different light. The same bytes on
// every run, so that a test can rely on them.

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "jpeg_writing.h"

namespace {

constexpr int width = 640;
constexpr int height = 480;

struct Color {
  double r = 0, g = 0, b = 0;
};

Color mixed(Color a, Color b, double share) {
  return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share};
}

struct Ellipse {
  double x, y, rx, ry;
  bool holds(double px, double py) const {
    const double dx = (px - x) / rx, dy = (py - y) / ry;
    return dx * dx + dy * dy <= 1;
  }
};

/// Light of the room, and of a white screen close to the face. `shift` moves the person.
struct Scene {
  double room = 1;
  double screen = 0;
  double shift = 0;
};

/// What stands at a point before any light falls on it, and how much of the screen's light gets
/// there.
struct Surface {
  Color color;
  double reach = 0;
};

Surface roomAt(double x, double y) {
  if (x > 430 && x < 590 && y > 40 && y < 210) {  // a window with its cross
    const bool frame = std::abs(x - 510) < 5 || std::abs(y - 125) < 5;
    return {frame ? Color{.5, .45, .4} : Color{.85, .93, 1}, .02};
  }
  if (x > 40 && x < 170 && y > 90 && y < 360) {  // a bookcase
    if (std::fmod(y - 90, 68) < 6) return {{.32, .2, .12}, .06};
    const double hue = std::fmod(std::floor(x / 13) * 0.37 + std::floor(y / 68) * 0.21, 1.0);
    return {mixed({.6, .25, .2}, {.2, .35, .55}, hue), .06};
  }
  return {mixed({.72, .68, .6}, {.5, .46, .42}, y / height), .1};
}

Surface personAt(double x, double y, Surface behind) {
  Surface at = behind;
  if (Ellipse{320, 500, 190, 150}.holds(x, y)) at = {{.2, .26, .42}, .7};
  if (std::abs(x - 320) < 34 && y > 290 && y < 380) at = {{.68, .5, .4}, .9};
  if (Ellipse{320, 196, 88, 108}.holds(x, y)) at = {{.23, .15, .1}, .7};  // hair
  if (Ellipse{320, 222, 76, 96}.holds(x, y)) at = {{.87, .67, .55}, 1};   // face
  for (const double side : {-1.0, 1.0}) {
    if (Ellipse{320 + side * 31, 205, 14, 8}.holds(x, y)) at = {{.96, .96, .96}, 1};
    if (Ellipse{320 + side * 31, 205, 6, 7}.holds(x, y)) at = {{.12, .09, .08}, 1};
    if (Ellipse{320 + side * 31, 186, 18, 4}.holds(x, y)) at = {{.25, .17, .12}, 1};
  }
  if (Ellipse{320, 238, 9, 20}.holds(x, y)) at = {{.78, .58, .47}, 1};  // nose
  if (Ellipse{320, 276, 27, 7}.holds(x, y)) at = {{.66, .3, .3}, 1};    // mouth
  return at;
}

std::uint8_t sample(double light, double noise) {
  return static_cast<std::uint8_t>(std::clamp(light * 255 + noise, 0.0, 255.0));
}

std::vector<std::uint8_t> rendered(const Scene& scene) {
  std::vector<std::uint8_t> pixels;
  pixels.reserve(std::size_t{3} * width * height);
  std::minstd_rand random(42);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Surface at = personAt(x - scene.shift, y, roomAt(x, y));
      const double light = scene.room + scene.screen * at.reach;
      const double noise = static_cast<double>(random() % 5) - 2;  // a sensor's
      for (const double part : {at.color.r, at.color.g, at.color.b}) {
        pixels.push_back(sample(part * light, noise));
      }
    }
  }
  return pixels;
}

struct Light {
  const char* name;
  double room, screen;
};

/// By mean brightness: well lit, lit too little, unusable, black, and two rooms in the light of a
/// white screen, the second one blinding.
constexpr std::array lights{Light{"day", 1.0, 0},      Light{"dim", .42, 0},
                            Light{"dark", .16, 0},     Light{"black", .05, 0},
                            Light{"flash", .16, 1.05}, Light{"glare", .5, 2.6}};
constexpr std::array shifts{0.0, 14.0, 22.0, -9.0};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  const std::string folder = argv[1];
  ::mkdir(folder.c_str(), 0755);
  for (const Light& light : lights) {
    for (std::size_t i = 0; i < shifts.size(); ++i) {
      const std::string path = folder + "/" + light.name + "-" + std::to_string(i) + ".jpg";
      const auto jpeg =
          brindle::jpegOf(rendered({light.room, light.screen, shifts[i]}), width, 3, 88);
      std::ofstream file(path, std::ios::binary);
      file.write(reinterpret_cast<const char*>(jpeg.data()),
                 static_cast<std::streamsize>(jpeg.size()));
      if (file.flush()) continue;
      std::fprintf(stderr, "%s could not be written\n", path.c_str());
      return 1;
    }
  }
  return 0;
}
