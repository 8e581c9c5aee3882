// Makes the sounds: the alarm, and the chirp with which the owner tries it. usage: FOLDER
// The same bytes on every run.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr int rate = 48'000;  // frames a second
constexpr double fullScale = 32767;
using Samples = std::vector<double>;  // -1 to 1

std::size_t frames(double seconds) { return static_cast<std::size_t>(std::lround(seconds * rate)); }

/// 0 to 1 over `share` from 0 to 1, without a corner at either end.
double eased(double share) {
  return (1 - std::cos(std::numbers::pi * std::clamp(share, 0.0, 1.0))) / 2;
}

/// A tone of full height. The third harmonic flattens the top of the sine: it has a seventh more
/// power at the same peak, and still no corner that a resampler would overshoot.
double tone(double turns) {
  const double x = 2 * std::numbers::pi * turns;
  return (std::sin(x) + std::sin(3 * x) / 6) / (std::numbers::sqrt3 / 2);
}

/// Two tones in turns, a fifth apart, where small loudspeakers and ears are best. The phase runs on
/// through every change, and the whole is a whole number of turns: where its end meets its start
/// there is nothing to hear.
Samples alarm() {
  constexpr double low = 1600, high = 2400;    // hertz
  constexpr double turn = 0.25, glide = 0.01;  // seconds
  constexpr double whole = 3, peak = 0.97;     // a resampler may add 2 %
  Samples made;
  double turns = 0;
  for (std::size_t frame = 0; frame < frames(whole); ++frame) {
    const double at = std::fmod(static_cast<double>(frame) / rate, 2 * turn);
    const double there = eased(at / glide) - eased((at - turn) / glide);
    made.push_back(peak * tone(turns));
    turns += (low + (high - low) * there) / rate;
  }
  return made;
}

/// One quiet rising note.
Samples chirp() {
  constexpr double from = 1200, by = 1200;    // hertz
  constexpr double whole = 0.3, peak = 0.05;  // -26 dB
  Samples made;
  double turns = 0;
  for (std::size_t frame = 0; frame < frames(whole); ++frame) {
    const double share = static_cast<double>(frame) / static_cast<double>(frames(whole));
    made.push_back(peak * std::sin(2 * std::numbers::pi * turns) *
                   std::sin(std::numbers::pi * share));
    turns += (from + by * share) / rate;
  }
  return made;
}

class Wav {
 public:
  void text(const char* letters) { bytes_ += letters; }
  void number(std::size_t value, int size) {
    for (int byte = 0; byte < size; ++byte) bytes_ += static_cast<char>(value >> (8 * byte) & 0xff);
  }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

/// Both channels the same: of a single one some servers give each loudspeaker only a part.
std::string wavOf(const Samples& samples) {
  constexpr std::size_t channels = 2, sampleSize = 2, frameSize = channels * sampleSize;
  Wav wav;
  wav.text("RIFF"), wav.number(36 + samples.size() * frameSize, 4);
  wav.text("WAVEfmt "), wav.number(16, 4), wav.number(1, 2), wav.number(channels, 2);
  wav.number(rate, 4), wav.number(rate * frameSize, 4), wav.number(frameSize, 2);
  wav.number(8 * sampleSize, 2);
  wav.text("data"), wav.number(samples.size() * frameSize, 4);
  for (const double sample : samples) {
    const auto value = static_cast<std::uint16_t>(std::lround(sample * fullScale));
    for (std::size_t channel = 0; channel < channels; ++channel) wav.number(value, sampleSize);
  }
  return wav.bytes();
}

bool write(const std::string& path, const Samples& samples) {
  std::ofstream file(path, std::ios::binary);
  file << wavOf(samples);
  file.close();
  if (!file) std::fprintf(stderr, "%s could not be written\n", path.c_str());
  return static_cast<bool>(file);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return std::fprintf(stderr, "usage: %s FOLDER\n", arguments[0]), 2;
  const std::string folder = arguments[1];
  return write(folder + "/alarm.wav", alarm()) && write(folder + "/chirp.wav", chirp()) ? 0 : 1;
}
