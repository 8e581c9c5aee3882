#include "core/event_json.h"

#include "base/json_fields.h"

namespace brindle {

// Found by argument-dependent look-up from the list reader, so they live beside their types.
static bool readJson(const JsonNode& json, Trigger& out) {
  JsonFields in(json);
  in.required("kind", out.kind).required("name", out.name);
  return in.readable();
}

static bool readJson(const JsonNode& json, UnlockEvent::VaultPhoto& out) {
  JsonFields in(json);
  in.required("file", out.file)
      .required("id", out.id)
      .required("takenAt", out.takenAt)
      .required("kind", out.kind, namedBy(vaultPhotoKindNames))
      .required("state", out.state, namedBy(vaultPhotoStateNames));
  return in.readable();
}

static bool readJson(const JsonNode& json, UnlockLocation& out) {
  JsonFields in(json);
  in.required("lat", out.lat)
      .required("lon", out.lon)
      .required("accuracy", out.accuracy)
      .required("at", out.at)
      .lenient("place", out.place);
  return in.readable();
}

namespace {

void writeNames(JsonWriter& out, std::string_view key, const std::vector<FileName>& names) {
  out.key(key).beginArray();
  for (const FileName& name : names) out.value(name);
  out.endArray();
}

void writeTrigger(JsonWriter& out, const Trigger& trigger) {
  out.beginObject().field("kind", trigger.kind).field("name", trigger.name).endObject();
}

void writeTriggers(JsonWriter& out, std::string_view key, const std::vector<Trigger>& triggers) {
  out.key(key).beginArray();
  for (const Trigger& each : triggers) writeTrigger(out, each);
  out.endArray();
}

void writeVaultPhotos(JsonWriter& out, const std::vector<UnlockEvent::VaultPhoto>& photos) {
  out.key("vaultPhotos").beginArray();
  for (const auto& each : photos) {
    out.beginObject()
        .field("file", each.file)
        .field("id", each.id)
        .field("takenAt", each.takenAt)
        .field("kind", vaultPhotoKindNames.of(each.kind))
        .field("state", vaultPhotoStateNames.of(each.state))
        .endObject();
  }
  out.endArray();
}

void writeLocation(JsonWriter& out, const UnlockLocation& location) {
  out.key("location")
      .beginObject()
      .field("lat", location.lat)
      .field("lon", location.lon)
      .field("accuracy", location.accuracy)
      .field("at", location.at);
  if (location.place) out.field("place", *location.place);
  out.endObject();
}

void writeWhenSet(JsonWriter& out, const UnlockEvent& event) {
  if (event.videoFile) out.field("videoFile", *event.videoFile);
  if (event.location) writeLocation(out, *event.location);
  if (event.trigger) writeTrigger(out.key("trigger"), *event.trigger);
  if (event.iPhone) out.field("iPhone", iPhoneSeenNames.of(*event.iPhone));
}

}  // namespace

EventRef readUnlockEvent(const JsonNode& json) {
  const auto read = std::make_shared<UnlockEvent>();
  UnlockEvent& event = *read;
  JsonFields in(json);
  // In the order of writing, which is the quickest to read.
  in.required("id", event.id)
      .required("date", event.date)
      .required("photoFiles", event.photoFiles)
      .strict("wrongPINs", event.wrongPINs)
      .strict("wrongAnswers", event.wrongAnswers)
      .strict("alert", event.alert, namedBy(alertStateNames))
      .strict("vault", event.vault, namedBy(vaultStateNames))
      .strict("vaultPhotos", event.vaultPhotos)
      // The key of the first documents; the field has a better name.
      .lenient("reason", event.photoProblem, optionally<PhotoProblem>(namedBy(photoProblemNames)))
      .strict("resolved", event.resolved)
      .strict("videoFile", event.videoFile)
      .lenient("location", event.location)
      .lenient("trigger", event.trigger)
      .lenient("iPhone", event.iPhone, optionally<IPhoneSeen>(namedBy(iPhoneSeenNames)))
      .lenient("watchedOpenings", event.watchedOpenings)
      .lenient("attemptOnly", event.attemptOnly)
      .lenient("photoPending", event.photoPending)
      .lenient("alsoOpened", event.alsoOpened)
      .lenient("openingPhotos", event.openingPhotos)
      .lenient("openingClips", event.openingClips);
  return in.readable() ? read : nullptr;
}

void writeUnlockEvent(JsonWriter& out, const UnlockEvent& event) {
  out.beginObject().field("id", event.id).field("date", event.date);
  writeNames(out, "photoFiles", event.photoFiles);
  out.field("wrongPINs", event.wrongPINs)
      .field("wrongAnswers", event.wrongAnswers)
      .field("alert", alertStateNames.of(event.alert))
      .field("vault", vaultStateNames.of(event.vault));
  writeVaultPhotos(out, event.vaultPhotos);
  if (event.photoProblem) out.field("reason", photoProblemNames.of(*event.photoProblem));
  out.field("resolved", event.resolved);
  writeWhenSet(out, event);
  out.field("watchedOpenings", event.watchedOpenings)
      .field("attemptOnly", event.attemptOnly)
      .field("photoPending", event.photoPending);
  writeTriggers(out, "alsoOpened", event.alsoOpened);
  writeNames(out, "openingPhotos", event.openingPhotos);
  writeNames(out, "openingClips", event.openingClips);
  out.endObject();
}

bool readJson(const JsonNode& json, CameraOffAlert& out) {
  JsonFields in(json);
  in.required("id", out.id)
      .required("at", out.at)
      .required("alert", out.alert, namedBy(alertStateNames));
  return in.readable();
}

void writeCameraOffAlert(JsonWriter& out, const CameraOffAlert& alert) {
  out.beginObject()
      .field("id", alert.id)
      .field("at", alert.at)
      .field("alert", alertStateNames.of(alert.alert))
      .endObject();
}

}  // namespace brindle
