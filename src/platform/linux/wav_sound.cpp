#include "platform/linux/wav_sound.h"

#include <sndfile.h>

#include <memory>

namespace brindle {

Result<WavSound, std::string> readWavSound(const std::string& path) {
  SF_INFO info{};
  const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_READ, &info),
                                                           sf_close);
  if (!file) return Failure(std::string(sf_strerror(nullptr)));
  const bool fits = info.channels >= 1 && info.channels <= 8 && info.samplerate > 0 &&
                    info.frames > 0 && info.frames <= WavSound::mostSamples / info.channels;
  if (!fits) return Failure(std::string("it has no sound, or too much"));
  WavSound sound{static_cast<std::uint32_t>(info.samplerate),
                 static_cast<std::uint8_t>(info.channels),
                 std::vector<std::int16_t>(static_cast<std::size_t>(info.frames * info.channels))};
  const auto read = sf_readf_short(file.get(), sound.samples.data(), info.frames);
  if (read != info.frames) return Failure(std::string("it ends too early"));
  return sound;
}

}  // namespace brindle
