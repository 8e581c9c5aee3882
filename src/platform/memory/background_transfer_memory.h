#pragma once

#include <list>
#include <memory>
#include <string>
#include <utility>

#include "platform/background_transfer.h"
#include "platform/memory/http_memory.h"

namespace brindle {

/// The part of the system that carries uploads on while the program is gone: make one per session
/// identifier, let it outlive the program, and `detach` when the program ends.
class MemoryBackgroundTransfer final : public BackgroundTransfer {
 public:
  MemoryBackgroundTransfer(Scheduler& scheduler, Files& files, std::string identifier)
      : scheduler_(scheduler), files_(files), identifier_(std::move(identifier)) {}

  void start(std::function<void(const TransferResult&)> onResult) override;
  [[nodiscard]] bool send(const HttpRequest& request, const std::string& description) override;
  void cancel(std::string_view description) override;
  void unfinished(std::function<void(std::vector<std::string>)> done) override;
  ServiceReport report() const override {
    return {"background transfer", "memory", !failing_, "kept in memory"};
  }

  void setServer(MemoryServer server) { server_ = std::move(server); }
  /// The program is gone; results wait for the next one.
  void detach() { onResult_ = nullptr; }
  /// Nothing can be handed over.
  void setFailing(bool failing) { failing_ = failing; }
  std::size_t underWay() const { return tasks_.size(); }

 private:
  struct Transfer {
    std::string description;
    Duration begun{};
    bool ended = false;
    HttpAnswer answer;
    Timer limit;
  };
  using Ref = std::shared_ptr<Transfer>;

  void end(const Ref& transfer, HttpAnswer answer);
  void tell();

  Scheduler& scheduler_;
  Files& files_;
  std::string identifier_;
  MemoryServer server_;
  bool failing_ = false;
  std::list<Ref> tasks_;
  std::function<void(const TransferResult&)> onResult_;
};

}  // namespace brindle
