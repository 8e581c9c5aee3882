#pragma once

#import <CoreAudio/CoreAudio.h>

#include <optional>
#include <vector>

#include "platform/audio_output.h"

// The audio server's objects and their properties. Every function waits for the server: none is
// for the main thread.

namespace brindle::mac {

/// One property of one object.
struct AudioPlace {
  AudioObjectID object = kAudioObjectUnknown;
  AudioObjectPropertyAddress address{};
};

/// None when there is no output, or nobody answers.
std::optional<AudioOutputs::State> defaultOutput();

/// The device is found by the identifier that outlives a restart.
AudioOutputs::Written writeVolume(const SavedVolume& volume);

/// What changes with the default output, and when the server was restarted.
std::vector<AudioPlace> outputPlaces();
/// What changes with the volume of the default output, as far as it has any.
std::vector<AudioPlace> volumePlaces();

}  // namespace brindle::mac
