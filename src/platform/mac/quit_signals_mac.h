#pragma once

#import <Foundation/Foundation.h>

#include <memory>
#include <vector>

#include "base/subscription.h"
#include "platform/quit_sender.h"

namespace brindle::mac {

/// SIGTERM, SIGINT and SIGHUP as orders to quit. macOS does not say on whose behalf a signal comes,
/// and asks applications by Apple event before a log out: so a signal counts as a person's.
class QuitSignals {
 public:
  explicit QuitSignals(std::weak_ptr<Listeners<QuitOrder>> ordered);
  ~QuitSignals();
  QuitSignals(const QuitSignals&) = delete;
  QuitSignals& operator=(const QuitSignals&) = delete;

 private:
  std::vector<dispatch_source_t> sources_;
};

}  // namespace brindle::mac
