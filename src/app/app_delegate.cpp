#include "app/app_delegate.h"

#include "core/quit_request.h"

namespace brindle {

AppDelegate::AppDelegate(NightjarStore& store, QuitSender& quitSender, Log log)
    : store_(store),
      log_(log),
      orders_(quitSender.onQuitOrder([this](const QuitOrder& order) { decide(order); })),
      changes_(store.onChange([this] { lookForApproval(); })) {}

void AppDelegate::decide(const QuitOrder& order) {
  const QuitDecision decision = decideQuit(order, store_.armed(), log_);
  if (decision != QuitDecision::needsProof) return terminate(decision == QuitDecision::proceed);
  if (refuse) refuse();
  if (askForQuitProof) return askForQuitProof();
  log_.notice("quit refused: the guard is on");
}

void AppDelegate::lookForApproval() {
  if (store_.quitApproved()) terminate(false);
}

void AppDelegate::terminate(bool systemEnds) {
  if (std::exchange(quitting_, true)) return;
  store_.prepareToQuit(lifetime_.guard([this](bool saved) {
    if (quit) quit(saved);
  }),
                       systemEnds);
}

}  // namespace brindle
