#pragma once

#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <functional>
#include <memory>

#include "base/subscription.h"
#include "core/nightjar_store.h"
#include "owner/owner_gate.h"
#include "ui/screen_cover.h"

namespace brindle {

/// What stands on the covered screen: what happened, and the question who it was. Follows the
/// store.
class GuardedForm : public QWidget {
 public:
  GuardedForm(NightjarStore& store, OwnerGate& gate);

  /// Asks about the event that waits now.
  void refresh();
  void setLit(bool lit);

 private:
  /// The owner has proved themself since it happened: the occurrence needs only a word.
  QWidget* choice(const Uuid& id);
  QWidget* question();
  void keep(const OwnerProof& proof);
  void showRemaining();

  NightjarStore& store_;
  OwnerGate& gate_;
  QVBoxLayout* layout_;
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
class GuardedWindow {
 public:
  GuardedWindow(NightjarStore& store, OwnerGate& gate, const ScreenLock& screen,
                ScreenCover::Hold hold = {});

  bool shown() const { return cover_ && cover_->shown(); }
  /// The covers light the face in front of the camera; what stands on them stays readable.
  void setLit(bool lit);

 private:
  void follow();

  NightjarStore& store_;
  OwnerGate& gate_;
  const ScreenLock& screen_;
  ScreenCover::Hold hold_;
  std::unique_ptr<ScreenCover> cover_;
  GuardedForm* form_ = nullptr;  ///< owned by the cover
  bool lit_ = false;
  Subscription changes_;
};

}  // namespace brindle
