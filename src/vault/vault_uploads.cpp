#include "vault/vault_uploads.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/file_step.h"
#include "vault/vault_key_set.h"

namespace brindle {
namespace {

// Results of earlier runs come one by one; what they answer is not to be sent again meanwhile.
constexpr Duration settlePause = std::chrono::seconds(1);
// The service or the way to it is at fault, not these items: the rest waits for the next offer.
constexpr std::size_t mostFailuresInARow = 3;

}  // namespace

VaultUploads::VaultUploads(const VaultParts& parts, const VaultAccounts& accounts, Events events)
    : parts_(parts), accounts_(accounts), events_(std::move(events)) {}

// ---- what there is to send

void VaultUploads::take(const UnlockEvent& event, std::size_t index) {
  const PhotoKey key{event.id, static_cast<std::int64_t>(index)};
  if (undelivered_.contains(key)) return;
  const UnlockEvent::VaultPhoto& photo = event.vaultPhotos[index];
  const bool maybeSent =
      photo.state == UnlockEvent::VaultPhoto::State::queued || underWay_.contains(key);
  undelivered_[key] = {uploadOf(event, index, parts_.machine), photo.file, maybeSent};
  round_.push_back(key);
  pump();
  events_.changed();
}

bool VaultUploads::forget(const Uuid& event) {
  std::vector<PhotoKey> its;
  for (auto each = underWay_.lower_bound({event, 0});
       each != underWay_.end() && each->first.event == event; ++each) {
    its.push_back(each->first);
  }
  for (const PhotoKey& key : its) cancel(key);
  std::erase_if(undelivered_, [&](const auto& each) { return each.first.event == event; });
  pump();
  events_.changed();
  return !its.empty();
}

void VaultUploads::forgetAccount(const std::string& email) {
  std::vector<std::pair<PhotoKey, Uuid>> its;
  for (const auto& [key, item] : undelivered_) {
    if (sameAddress(accounts_.of(key.event), email)) its.emplace_back(key, item.upload.photoID);
  }
  for (const auto& [key, photo] : its) end(key, photo, Ended::rejected);
  pump();
  events_.changed();
}

bool VaultUploads::knows(const Uuid& event) const {
  const auto has = [&event](const auto& all) {
    const auto first = all.lower_bound({event, 0});
    return first != all.end() && first->first.event == event;
  };
  return has(undelivered_) || has(underWay_);
}

void VaultUploads::allow() {
  for (auto& [key, item] : undelivered_) item.notAllowed = false;
}

void VaultUploads::turned() {
  if (!events_.wanted()) {
    while (!underWay_.empty()) cancel(PhotoKey(underWay_.begin()->first));
  }
  offer();
}

std::vector<VaultUploads::Waiting> VaultUploads::waiting() const {
  std::vector<Waiting> all;
  for (const auto& [key, item] : undelivered_) {
    all.push_back({key, item.upload.photoID, why(key, item), item.failures});
  }
  return all;
}

VaultUploads::Waiting::Why VaultUploads::why(const PhotoKey& key, const Item& item) const {
  using Why = Waiting::Why;
  const auto& session = parts_.account.session();
  if (underWay_.contains(key)) return Why::onItsWay;
  if (!events_.wanted()) return Why::off;
  if (!session) return Why::notSignedIn;
  if (!sameAddress(session->email, accounts_.of(key.event))) return Why::ofAnotherAccount;
  if (item.notAllowed) return Why::notAllowed;
  if (parts_.keys.isOwed()) return Why::awaitsKeys;
  if (preparing_ == key) return Why::sealing;
  return item.failures > 0 ? Why::waitsForRetry : Why::inTurn;
}

bool VaultUploads::mayBeSent(const PhotoKey& key) const {
  const auto item = undelivered_.find(key);
  if (item == undelivered_.end()) return false;
  using Why = Waiting::Why;
  const auto reason = why(key, item->second);
  return reason == Why::inTurn || reason == Why::waitsForRetry || reason == Why::awaitsKeys;
}

// ---- one after the other

void VaultUploads::offer() {
  std::vector<std::pair<std::size_t, PhotoKey>> order;
  for (const auto& [key, item] : undelivered_) order.emplace_back(item.failures, key);
  std::ranges::sort(order);  // one that always fails does not stand in the way of the others
  round_.clear();
  for (const auto& each : order) round_.push_back(each.second);
  failuresInARow_ = 0;
  pump();
}

void VaultUploads::pump() {
  while (ready_ && !preparing_ && !round_.empty() && underWay_.size() < mostUnderWay) {
    const PhotoKey key = round_.front();
    round_.pop_front();
    if (mayBeSent(key)) prepare(key);
  }
}

void VaultUploads::prepare(const PhotoKey& key) {
  preparing_ = key;
  parts_.keys.beforeSealing(lifetime_.guard([this, key] {
    preparing_.reset();
    if (mayBeSent(key)) {
      seal(key);
    } else {
      pump();
    }
  }));
}

void VaultUploads::seal(const PhotoKey& key) {
  if (parts_.keys.isOwed()) {  // nobody knows yet whether it can be sealed
    round_.clear();
    return events_.changed();
  }
  const Item& item = undelivered_.at(key);
  auto recipients = parts_.keys.recipients();
  if (recipients.empty()) return drop(key, "no keys");
  if (!isPlainFileName(item.file)) return drop(key, "not a photo's name");
  preparing_ = key;
  const std::string blob = blobName(parts_.random.newUuid());
  const auto result = std::make_shared<Prepared>(Prepared::notWritten);
  parts_.worker.run(
      [&files = parts_.files, &crypto = parts_.crypto, upload = item.upload,
       photo = joinPath(parts_.photos, item.file), recipients = std::move(recipients),
       path = joinPath(parts_.temporary, blob),
       result] { *result = prepareUpload(files, crypto, upload, photo, recipients, path); },
      lifetime_.guard([this, key, blob, result, email = parts_.account.accountEmail()] {
        prepared(key, *result, blob, email);
      }));
}

/// `email`: whose keys it was sealed for.
void VaultUploads::prepared(const PhotoKey& key, Prepared result, const std::string& blob,
                            const std::string& email) {
  preparing_.reset();
  const auto& session = parts_.account.session();
  const bool still = mayBeSent(key) && session && sameAddress(session->email, email);
  if (still && result == Prepared::ready) {
    send(key, blob);
  } else if (still && result == Prepared::unusable) {
    return drop(key, "not sealed, or its photo is gone");
  } else if (still) {
    parts_.log.notice("vault upload: not written, kept");
    failed(key);
  } else if (result == Prepared::ready) {
    removeBlob(blob);
  }
  pump();
  events_.changed();
}

void VaultUploads::send(const PhotoKey& key, const std::string& blob) {
  const UploadLabel label{key, undelivered_.at(key).upload.photoID, blob};
  ServiceRequest request;
  request.path = std::string(endpoints::vaultUpload);
  request.contentType = std::string(endpoints::bytes);
  request.bodyFile = joinPath(parts_.temporary, blob);
  request.timeout = endpoints::vaultUploadTimeout;
  const auto built = parts_.client.build(request);
  if (built && parts_.transfer.send(*built, label.text())) {
    underWay_[key] = label.text();
    undelivered_.at(key).maybeSent = true;
    return;
  }
  parts_.log.notice("vault upload: not handed over, kept");
  removeBlob(blob);
  failed(key);
}

void VaultUploads::failed(const PhotoKey& key) {
  const auto item = undelivered_.find(key);
  if (item != undelivered_.end()) ++item->second.failures;
  if (++failuresInARow_ >= mostFailuresInARow) round_.clear();
}

void VaultUploads::drop(const PhotoKey& key, std::string_view why) {
  parts_.log.notice("vault upload: dropped, %{public}s", why);
  const Item& item = undelivered_.at(key);
  // One that the service may have is not forgotten: confirming the event has it deleted.
  end(key, item.upload.photoID, item.maybeSent ? Ended::rejected : Ended::dropped);
  pump();
  events_.changed();
}

// ---- answers

void VaultUploads::taken(const TransferResult& result) {
  const auto label = UploadLabel::parse(result.description);
  if (!label) return;
  removeBlob(label->blob);
  const auto current = underWay_.find(label->key);
  const bool isCurrent = current != underWay_.end() && current->second == result.description;
  if (isCurrent) underWay_.erase(current);
  const ServiceAnswer answer = ServiceClient::judge(result.answer);
  const auto item = undelivered_.find(label->key);
  if (item != undelivered_.end() && item->second.upload.photoID != label->photo) {
    // A crash came before anything recorded what the photo was called: that name ends nothing.
    round_.push_back(label->key);
  } else if (events_.deleted(label->key.event)) {
    // One that was refused is not there, whatever came first.
    if (answer.answer != AnswerClass::refused) events_.answeredLate(label->key.event);
  } else if (isCurrent || current == underWay_.end() || answer.answer == AnswerClass::done) {
    answered(*label, answer);
  }
  parts_.log.notice(
      "vault upload: %{public}s, HTTP %{public}ld in %{public}ld ms, %{public}ld waiting",
      nameOf(answer.answer), answer.status, answer.milliseconds, undelivered_.size());
  pump();
  events_.changed();
}

void VaultUploads::answered(const UploadLabel& label, const ServiceAnswer& answer) {
  if (answer.answer == AnswerClass::done) {
    failuresInARow_ = 0;
    return end(label.key, label.photo, Ended::saved);
  }
  const bool notAllowed = isNotAllowed(answer.status);
  if (answer.answer == AnswerClass::refused && !notAllowed) {
    return end(label.key, label.photo, Ended::rejected);
  }
  failed(label.key);
  const auto item = undelivered_.find(label.key);
  if (item != undelivered_.end()) item->second.notAllowed = notAllowed;
}

void VaultUploads::end(PhotoKey key, Uuid photo, Ended how) {
  if (how == Ended::saved) ++counts_.saved;
  if (how == Ended::rejected) ++counts_.rejected;
  if (how == Ended::dropped) ++counts_.dropped;
  undelivered_.erase(key);
  cancel(key);
  events_.ended(key.event, photo, how);
}

void VaultUploads::cancel(const PhotoKey& key) {
  const auto found = underWay_.find(key);
  if (found == underWay_.end()) return;
  const std::string label = found->second;
  underWay_.erase(found);
  parts_.transfer.cancel(label);
  if (const auto parsed = UploadLabel::parse(label)) removeBlob(parsed->blob);
}

void VaultUploads::removeBlob(const std::string& name) {
  parts_.worker.run([&files = parts_.files,
                     path = joinPath(parts_.temporary, name)] { (void)files.remove(path); },
                    {});
}

// ---- what earlier runs left

void VaultUploads::start() {
  parts_.transfer.start(lifetime_.guard([this](const TransferResult& result) { taken(result); }));
  parts_.transfer.unfinished(
      lifetime_.guard([this](const std::vector<std::string>& labels) { takeUp(labels); }));
}

void VaultUploads::takeUp(const std::vector<std::string>& labels) {
  for (const std::string& text : labels) {
    const auto label = UploadLabel::parse(text);
    if (!label) continue;
    const bool deleted = events_.deleted(label->key.event);
    if (deleted) events_.givenUpLate(label->key.event);
    if (deleted || !events_.wanted() || underWay_.contains(label->key)) {
      parts_.transfer.cancel(text);
    } else {
      underWay_[label->key] = text;
    }
  }
  if (!underWay_.empty()) {
    parts_.log.notice("vault uploads: %{public}ld of earlier runs on their way", underWay_.size());
  }
  removeLeftovers();
  settle_ = parts_.scheduler.after(settlePause, [this] {
    ready_ = true;
    events_.ready();
  });
}

void VaultUploads::removeLeftovers() {
  std::set<std::string> kept;
  for (const auto& [key, text] : underWay_) {
    if (const auto label = UploadLabel::parse(text)) kept.insert(label->blob);
  }
  const auto removed = std::make_shared<long>(0);
  parts_.worker.run(
      [&files = parts_.files, folder = parts_.temporary, kept = std::move(kept), removed] {
        for (const std::string& name : files.list(folder).value_or(std::vector<std::string>())) {
          if (!isBlobName(name) || kept.contains(name)) continue;
          if (files.remove(joinPath(folder, name))) ++*removed;
        }
      },
      lifetime_.guard([this, removed] {
        if (*removed == 0) return;
        parts_.log.notice("vault uploads: %{public}ld leftover blobs removed", *removed);
      }));
}

}  // namespace brindle
