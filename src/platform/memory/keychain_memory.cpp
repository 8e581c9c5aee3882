#include "platform/memory/keychain_memory.h"

#include <algorithm>
#include <utility>

namespace brindle {

using namespace keychain_code;

KeychainRead MemoryKeychain::read(KeychainStore store, const KeychainItem& item) {
  const std::lock_guard lock(mutex_);
  ++reads_;
  if (const int code = codeFor(store, nextReads_); code != success) return {code, {}};
  const auto found = items_.find({store, item.service, item.account});
  if (found == items_.end()) return {itemNotFound, {}};
  return {success, found->second};
}

int MemoryKeychain::write(KeychainStore store, const KeychainItem& item, ByteView data) {
  const std::lock_guard lock(mutex_);
  if (const int code = codeFor(store, nextWrites_); code != success) return code;
  items_[{store, item.service, item.account}] = {data.begin(), data.end()};
  return success;
}

int MemoryKeychain::remove(KeychainStore store, const KeychainItem& item) {
  const std::lock_guard lock(mutex_);
  if (const int code = codeFor(store, nextRemoves_); code != success) return code;
  return items_.erase({store, item.service, item.account}) > 0 ? success : itemNotFound;
}

bool MemoryKeychain::provisioned() {
  const std::lock_guard lock(mutex_);
  return provisioned_;
}

ServiceReport MemoryKeychain::report() {
  const std::lock_guard lock(mutex_);
  return {"keychain", "memory", trouble_ == success,
          trouble_ == success ? "kept in memory" : "told to fail"};
}

void MemoryKeychain::setAnswer(KeychainStore store, int code) {
  const std::lock_guard lock(mutex_);
  answers_[store] = code;
}

void MemoryKeychain::setProvisioned(bool provisioned) {
  const std::lock_guard lock(mutex_);
  provisioned_ = provisioned;
}

bool MemoryKeychain::holds(KeychainStore store, const KeychainItem& item) const {
  const std::lock_guard lock(mutex_);
  return items_.contains({store, item.service, item.account});
}

std::size_t MemoryKeychain::items(KeychainStore store) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count_if(
      items_, [store](const auto& each) { return std::get<0>(each.first) == store; }));
}

int MemoryKeychain::reads() const {
  const std::lock_guard lock(mutex_);
  return reads_;
}

void MemoryKeychain::setTrouble(bool on, int code) {
  const std::lock_guard lock(mutex_);
  trouble_ = on ? code : success;
}

void MemoryKeychain::setNext(std::deque<int>& next, std::deque<int> codes) {
  const std::lock_guard lock(mutex_);
  next = std::move(codes);
}

int MemoryKeychain::codeFor(KeychainStore store, std::deque<int>& next) {
  if (!next.empty()) {
    const int code = next.front();
    next.pop_front();
    return code;
  }
  if (trouble_ != success) return trouble_;
  const auto answer = answers_.find(store);
  return answer == answers_.end() ? success : answer->second;
}

}  // namespace brindle
