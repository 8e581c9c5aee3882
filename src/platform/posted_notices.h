#pragma once

#include <utility>

#include "platform/scheduler.h"
#include "platform/screen_lock.h"

namespace brindle {

/// A notice center whose announcements reach observers through the main loop, never inline. A
/// notice announced before its observer's subscription ended is not delivered afterwards.
class PostedNotices final : public NoticeCenter {
 public:
  explicit PostedNotices(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription observe(SystemNotice notice, std::function<void()> observer) override {
    return listeners_.add([notice, observer = std::move(observer)](SystemNotice announced) {
      if (announced == notice) observer();
    });
  }
  void announce(SystemNotice notice) {
    scheduler_.post([listeners = listeners_, notice] { listeners.tell(notice); });
  }

 private:
  Scheduler& scheduler_;
  Listeners<SystemNotice> listeners_;
};

}  // namespace brindle
