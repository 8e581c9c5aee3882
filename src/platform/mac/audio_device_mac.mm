#include "platform/mac/audio_device_mac.h"

#import <Foundation/Foundation.h>

#include <array>
#include <utility>

#include "platform/mac/mac_support.h"

namespace brindle::mac {
namespace {

using Written = AudioOutputs::Written;

/// The main element and those of a pair of channels. A device has any of them, or none.
constexpr std::array<UInt32, 3> channels{0, 1, 2};

constexpr AudioObjectPropertyAddress inGeneral(AudioObjectPropertySelector what) {
  return {what, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}
constexpr AudioObjectPropertyAddress volumeOf(UInt32 channel) {
  return {kAudioDevicePropertyVolumeScalar, kAudioObjectPropertyScopeOutput, channel};
}
constexpr AudioObjectPropertyAddress muteOf(UInt32 channel) {
  return {kAudioDevicePropertyMute, kAudioObjectPropertyScopeOutput, channel};
}

bool has(const AudioPlace& place) {
  return AudioObjectHasProperty(place.object, &place.address) != 0;
}

bool settable(const AudioPlace& place) {
  Boolean can = 0;
  return AudioObjectIsPropertySettable(place.object, &place.address, &can) ==
             kAudioHardwareNoError &&
         can != 0;
}

template <class Value>
std::optional<Value> get(const AudioPlace& place) {
  Value value{};
  UInt32 size = sizeof value;
  const OSStatus status =
      AudioObjectGetPropertyData(place.object, &place.address, 0, nullptr, &size, &value);
  if (status != kAudioHardwareNoError || size != sizeof value) return std::nullopt;
  return value;
}

std::string getText(const AudioPlace& place) {
  // Ours to release, like everything of Core Foundation that a property gives.
  const CfOwned<CFStringRef> text(get<CFStringRef>(place).value_or(nullptr));
  return stringOf((__bridge NSString*)text.get());
}

/// Only of what can be set as well: nothing else can be given back.
template <class Value>
std::optional<Value> controllable(const AudioPlace& place) {
  if (!has(place) || !settable(place)) return std::nullopt;
  return get<Value>(place);
}

/// True also where there is nothing to set.
template <class Value>
bool set(const AudioPlace& place, Value value) {
  if (!has(place) || get<Value>(place) == value) return true;
  return settable(place) &&
         AudioObjectSetPropertyData(place.object, &place.address, 0, nullptr, sizeof value,
                                    &value) == kAudioHardwareNoError;
}

/// `kAudioObjectUnknown`: there is none. None: nobody answers.
std::optional<AudioObjectID> defaultDevice() {
  return get<AudioObjectID>(
      {kAudioObjectSystemObject, inGeneral(kAudioHardwarePropertyDefaultOutputDevice)});
}

/// As `defaultDevice`.
std::optional<AudioObjectID> deviceNamed(const std::string& id) {
  const auto address = inGeneral(kAudioHardwarePropertyTranslateUIDToDevice);
  NSString* text = textOf(id);
  if (!text) return kAudioObjectUnknown;
  const CFStringRef name = (__bridge CFStringRef)text;
  AudioObjectID device = kAudioObjectUnknown;
  UInt32 size = sizeof device;
  const OSStatus status = AudioObjectGetPropertyData(kAudioObjectSystemObject, &address,
                                                     sizeof name, &name, &size, &device);
  return status == kAudioHardwareNoError ? std::optional(device) : std::nullopt;
}

bool hasOutputStreams(AudioObjectID device) {
  constexpr AudioObjectPropertyAddress streams{kAudioDevicePropertyStreams,
                                               kAudioObjectPropertyScopeOutput,
                                               kAudioObjectPropertyElementMain};
  UInt32 size = 0;
  return AudioObjectGetPropertyDataSize(device, &streams, 0, nullptr, &size) ==
             kAudioHardwareNoError &&
         size > 0;
}

AudioOutput describedDevice(AudioObjectID device) {
  return {getText({device, inGeneral(kAudioDevicePropertyDeviceUID)}),
          getText({device, inGeneral(kAudioObjectPropertyName)}),
          get<UInt32>({device, inGeneral(kAudioDevicePropertyTransportType)}) ==
              kAudioDeviceTransportTypeBuiltIn,
          hasOutputStreams(device)};
}

}  // namespace

std::optional<AudioOutputs::State> defaultOutput() {
  const AudioObjectID device = defaultDevice().value_or(kAudioObjectUnknown);
  if (device == kAudioObjectUnknown) return std::nullopt;
  AudioOutputs::State state{describedDevice(device), {}};
  if (state.output.id.empty()) return std::nullopt;  // it went meanwhile
  SavedVolume& volume = state.volume;
  volume.device = state.output.id;
  for (const UInt32 channel : channels) {
    const auto level = controllable<Float32>({device, volumeOf(channel)});
    if (level) volume.levels[static_cast<int>(channel)] = static_cast<double>(*level);
    const auto mute = controllable<UInt32>({device, muteOf(channel)});
    if (mute) volume.muted = volume.muted.value_or(false) || *mute != 0;
  }
  return state;
}

Written writeVolume(const SavedVolume& volume) {
  const auto device = deviceNamed(volume.device);
  if (!device) return Written::refused;
  if (*device == kAudioObjectUnknown) return Written::gone;
  bool all = true;
  for (const UInt32 channel : channels) {
    const auto level = volume.levels.find(static_cast<int>(channel));
    if (level == volume.levels.end()) continue;
    all = set({*device, volumeOf(channel)}, static_cast<Float32>(level->second)) && all;
  }
  // After the levels: some devices are heard again as soon as one is set.
  for (const UInt32 channel : channels) {
    if (volume.muted) all = set({*device, muteOf(channel)}, UInt32{*volume.muted}) && all;
  }
  if (all) return Written::done;
  return deviceNamed(volume.device) == kAudioObjectUnknown ? Written::gone : Written::refused;
}

std::vector<AudioPlace> outputPlaces() {
  return {{kAudioObjectSystemObject, inGeneral(kAudioHardwarePropertyDefaultOutputDevice)},
          {kAudioObjectSystemObject, inGeneral(kAudioHardwarePropertyServiceRestarted)}};
}

std::vector<AudioPlace> volumePlaces() {
  const AudioObjectID device = defaultDevice().value_or(kAudioObjectUnknown);
  if (device == kAudioObjectUnknown) return {};
  std::vector<AudioPlace> places;
  for (const UInt32 channel : channels) {
    for (const AudioPlace& place :
         {AudioPlace{device, volumeOf(channel)}, AudioPlace{device, muteOf(channel)}}) {
      if (has(place)) places.push_back(place);
    }
  }
  return places;
}

}  // namespace brindle::mac
