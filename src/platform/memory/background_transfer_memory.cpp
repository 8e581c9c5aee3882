#include "platform/memory/background_transfer_memory.h"

#include <algorithm>

namespace brindle {

void MemoryBackgroundTransfer::start(std::function<void(const TransferResult&)> onResult) {
  onResult_ = std::move(onResult);
  scheduler_.post([this] { tell(); });
}

bool MemoryBackgroundTransfer::send(const HttpRequest& request, const std::string& description) {
  if (failing_ || !httpUrlAllowed(request.url)) return false;
  auto content = files_.read(request.bodyFile);
  if (!content) return false;
  auto transfer = std::make_shared<Transfer>();
  transfer->description = description;
  transfer->begun = scheduler_.awakeTime();
  tasks_.push_back(transfer);
  const std::weak_ptr<Transfer> weak = transfer;
  const auto answer = [this, weak](HttpAnswer got) {
    if (const Ref known = weak.lock()) end(known, std::move(got));
  };
  transfer->limit = scheduler_.after(request.timeout, [answer] {
    answer({0, {}, {}, "timed out"});
  });
  if (!server_) {
    answer({0, {}, {}, "no connection"});
  } else {
    server_({request, std::move(*content), identifier_}, answer);
  }
  return true;
}

void MemoryBackgroundTransfer::end(const Ref& transfer, HttpAnswer answer) {
  if (std::exchange(transfer->ended, true)) return;
  transfer->limit.cancel();
  transfer->answer = std::move(answer);
  transfer->answer.elapsed = scheduler_.awakeTime() - transfer->begun;
  scheduler_.post([this] { tell(); });
}

void MemoryBackgroundTransfer::tell() {
  while (onResult_) {
    const auto over = std::ranges::find_if(tasks_, [](const Ref& each) { return each->ended; });
    if (over == tasks_.end()) return;
    const Ref transfer = *over;
    tasks_.erase(over);
    const auto told = onResult_;  // it may detach us
    told({transfer->description, transfer->answer});
  }
}

void MemoryBackgroundTransfer::cancel(std::string_view description) {
  std::erase_if(tasks_, [&](const Ref& each) { return each->description == description; });
}

void MemoryBackgroundTransfer::unfinished(std::function<void(std::vector<std::string>)> done) {
  std::vector<std::string> all;
  for (const Ref& each : tasks_) {
    if (!each->ended) all.push_back(each->description);
  }
  scheduler_.post([done = std::move(done), all = std::move(all)] { done(all); });
}

}  // namespace brindle
