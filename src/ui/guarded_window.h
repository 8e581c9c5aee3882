#pragma once

#include <QTimer>

#include "base/subscription.h"
#include "core/nightjar_store.h"
#include "owner/owner_gate.h"
#include "ui/cover_window.h"

namespace brindle {

/// What stands on the covered screen: what happened, and the question who it was. Follows the
/// store.
class GuardedForm : public CoverForm {
 public:
  GuardedForm(NightjarStore& store, OwnerGate& gate);

  /// Asks about the event that waits now.
  void refresh();

 private:
  /// The owner has proved themself since it happened: the occurrence needs only a word.
  QWidget* choice(const Uuid& id);
  QWidget* question();
  void keep(const OwnerProof& proof);
  void showRemaining();

  NightjarStore& store_;
  OwnerGate& gate_;
  QLabel* what_;
  QLabel* remaining_;
  QTimer seconds_;  ///< for the countdown; runs only while this form exists
  QWidget* asking_ = nullptr;
  std::optional<Uuid> asked_;
  bool askedAsProved_ = false;
  bool notMe_ = false;
};

/// The full-screen guarded window. It is up while the store waits for "That was me" and there is no
/// way to close it but proof. An error on its way leaves the guard on and the event unresolved; the
/// next start shows it again. Main thread only.
class GuardedWindow : public CoverWindow {
 public:
  GuardedWindow(NightjarStore& store, OwnerGate& gate, const ScreenLock& screen,
                ScreenCover::Hold hold = {});

 private:
  void follow();

  NightjarStore& store_;
  OwnerGate& gate_;
  GuardedForm* form_ = nullptr;  ///< owned by the cover
  Subscription changes_;
};

}  // namespace brindle
