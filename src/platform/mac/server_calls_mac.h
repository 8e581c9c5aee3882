#pragma once

#include <dispatch/dispatch.h>

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "base/lifetime.h"
#include "platform/mac/mac_support.h"
#include "platform/scheduler.h"

namespace brindle::mac {

/// Calls that wait for a server of the system: one after the other on a queue of their own, so that
/// a server that hangs holds up nothing but them. Main thread only.
class ServerCalls {
 public:
  /// `label` names the queue in crash reports and samples.
  ServerCalls(Scheduler& scheduler, const char* label, Duration patience)
      : scheduler_(scheduler),
        patience_(patience),
        queue_(dispatch_queue_create(label, DISPATCH_QUEUE_SERIAL)) {}

  /// `done` is told what `work` answers, or `none` once that has taken as long as the patience
  /// lasts: from the main loop, exactly once, never when this is gone first. `work` that was given
  /// up before its turn never begins; what it was in the middle of may still happen.
  template <class Answer>
  void ask(std::function<Answer()> work, Answer none, std::function<void(Answer)> done) {
    const auto question = std::make_shared<Question<Answer>>();
    question->done = lifetime_.guard(std::move(done));
    // The timer keeps the question, until either of them ends it.
    question->patienceOver =
        scheduler_.after(patience_, [question, none = std::move(none)] { question->tell(none); });
    const std::weak_ptr<Question<Answer>> weak = question;
    const auto over = question->over;
    dispatch_async(queue_, ^{
      if (*over) return;
      const Answer answer = work();
      onMain([weak, answer] {
        if (const auto waiting = weak.lock()) waiting->tell(answer);
      });
    });
  }

  /// Without an answer, and without giving up.
  void run(std::function<void()> work) const {
    dispatch_async(queue_, ^{
      work();
    });
  }

  /// Runs `work` and waits for it, this long at most; false: it goes on without being waited for.
  bool finished(std::function<void()> work, Duration longest) const {
    dispatch_semaphore_t end = dispatch_semaphore_create(0);
    dispatch_async(queue_, ^{
      work();
      dispatch_semaphore_signal(end);
    });
    const dispatch_time_t latest = dispatch_time(DISPATCH_TIME_NOW, longest.count());
    return dispatch_semaphore_wait(end, latest) == 0;
  }

 private:
  /// Main thread only; the queue holds it weakly and looks at `over` alone.
  template <class Answer>
  struct Question {
    std::shared_ptr<std::atomic<bool>> over = std::make_shared<std::atomic<bool>>(false);
    std::function<void(Answer)> done;
    Timer patienceOver;

    void tell(Answer answer) {
      *over = true;
      const auto told = std::exchange(done, nullptr);
      patienceOver.cancel();  // which may have kept this
      if (told) told(std::move(answer));
    }
  };

  Scheduler& scheduler_;
  const Duration patience_;
  dispatch_queue_t queue_;
  Lifetime lifetime_;
};

}  // namespace brindle::mac
