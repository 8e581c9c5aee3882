#include "owner/secret_work.h"

#include "base/utf8.h"
#include "owner/secret_record.h"

namespace brindle {

using keychain_code::itemNotFound;
using keychain_code::success;

SecretWork::Judged SecretWork::judge(SecretKind which, const std::vector<SecretText>& candidates) {
  KeychainRead record = items_.read(secret_names::of(which));
  if (record.code == itemNotFound) return {CheckOutcome::wrong, SecretState::notSet, record.code};
  if (record.code != success) {
    return {CheckOutcome::unreadable, SecretState::unreadable, record.code};
  }
  Judged judged{CheckOutcome::wrong, SecretState::set, success};
  for (const SecretText& candidate : candidates) {
    const RecordMatch match = matchRecord(crypto_, record.data, candidate.view());
    if (match == RecordMatch::no) continue;
    if (match == RecordMatch::unknown) return {CheckOutcome::unreadable, SecretState::set, 0};
    if (match == RecordMatch::older) upgrade(which, candidate);
    judged.outcome = CheckOutcome::right;
    break;
  }
  wipe(record.data);
  return judged;
}

void SecretWork::upgrade(SecretKind which, const SecretText& secret) {
  const auto record = buildRecord(crypto_, random_, secret.view());
  if (record && items_.write(secret_names::of(which), *record) == success) return;
  log_.notice("hash upgrade not written: the old record is kept");
}

SecretWork::Presence SecretWork::presenceOf(std::string_view name) {
  KeychainRead record = items_.read(name);
  wipe(record.data);
  if (record.code == success) return {SecretState::set, 0};
  if (record.code == itemNotFound) return {SecretState::notSet, 0};
  return {SecretState::unreadable, record.code};
}

SecretWork::Looked SecretWork::look() {
  const Presence pin = presenceOf(secret_names::pin);
  const Presence answer = presenceOf(secret_names::answer);
  const KeychainRead question = items_.read(secret_names::question);
  Looked looked{{pin.state, answer.state}, {}, pin.code != 0 ? pin.code : answer.code};
  if (question.code == success) looked.question = repairedUtf8(textOf(question.data));
  return looked;
}

bool SecretWork::pinMayBeSet() {
  return presenceOf(secret_names::pin).state != SecretState::notSet;
}

PinSaved SecretWork::savePin(const SecretText& pin) {
  const auto record = buildRecord(crypto_, random_, pin.view());
  const bool saved = record && items_.write(secret_names::pin, *record) == success;
  return saved ? PinSaved::saved : PinSaved::failed;
}

PinSaved SecretWork::savePinUnproved(const SecretText& pin, bool replacing) {
  const Presence before = presenceOf(secret_names::pin);
  if (before.state == SecretState::notSet) return savePin(pin);
  if (before.state != SecretState::unreadable || !replacing) return PinSaved::needsProof;
  // A keychain that lets nobody read an item may not let anybody change it either, but delete it.
  PinSaved saved = savePin(pin);
  if (saved != PinSaved::saved && items_.remove(secret_names::pin) == success) saved = savePin(pin);
  if (saved == PinSaved::saved) {
    log_.notice("pin replaced: the record before it could not be read (%{public}d)", before.code);
  }
  return saved;
}

bool SecretWork::saveAnswer(const std::string& question, const SecretText& normalisedAnswer) {
  const auto record = buildRecord(crypto_, random_, normalisedAnswer.view());
  if (!record) return false;
  // Looking at both first moves both over if an earlier version wrote them: they stay a pair.
  presenceOf(secret_names::answer);
  const KeychainRead before = items_.read(secret_names::question);
  if (items_.write(secret_names::question, viewOf(question)) != success) return false;
  if (items_.write(secret_names::answer, *record) == success) return true;
  if (!putBack(before)) {
    log_.notice("answer not saved, and the question before it not put back");
  }
  return false;
}

bool SecretWork::putBack(const KeychainRead& question) {
  if (question.code == success) {
    return items_.write(secret_names::question, question.data) == success;
  }
  return question.code == itemNotFound && items_.remove(secret_names::question) == success;
}

}  // namespace brindle
