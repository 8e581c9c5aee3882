#import <dispatch/dispatch.h>

#include <atomic>
#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

struct Piece {
  Task work;
  Task done;
};

class MacWorkerQueue final : public WorkerQueue {
 public:
  explicit MacWorkerQueue(const char* label)
      : queue_(dispatch_queue_create(label, DISPATCH_QUEUE_SERIAL)) {}

  ~MacWorkerQueue() override {
    *closed_ = true;
    finish();
  }

  void run(Task work, Task done) override {
    const auto piece = std::make_shared<Piece>(Piece{std::move(work), std::move(done)});
    const auto closed = closed_;
    dispatch_async(queue_, ^{
      if (!*closed) std::exchange(piece->work, nullptr)();
      // Also when dropped: what `done` holds is destroyed on the main thread.
      mac::onMain([done = std::exchange(piece->done, nullptr), dropped = closed->load()] {
        if (done && !dropped) done();
      });
    });
  }

  void finish() override {
    dispatch_sync(queue_, ^{
                  });
  }

 private:
  dispatch_queue_t queue_;
  std::shared_ptr<std::atomic<bool>> closed_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace

std::unique_ptr<WorkerQueue> makeMacWorkerQueue(const char* label) {
  return std::make_unique<MacWorkerQueue>(label);
}

}  // namespace brindle
