#include "core/quit_wait.h"

#include <utility>

namespace brindle {

void QuitWait::begin(std::function<bool()> underWay, std::function<void()> done) {
  underWay_ = std::move(underWay);
  done_ = std::move(done);
  until_ = scheduler_.awakeTime() + limit;
  quitAlertWait_ = scheduler_.after(Duration::zero(), [this] { lookAgain(); });
}

void QuitWait::lookAgain() {
  if (underWay_() && scheduler_.awakeTime() < until_) {
    quitAlertWait_ = scheduler_.after(look, [this] { lookAgain(); });
  } else if (const auto done = std::exchange(done_, nullptr)) {
    done();
  }
}

}  // namespace brindle
