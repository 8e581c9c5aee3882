#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QStackedLayout>
#include <QStringList>
#include <QWidget>

#include "base/lifetime.h"
#include "base/subscription.h"
#include "core/nightjar_store.h"
#include "core/unlock_log.h"
#include "owner/owner_gate.h"

namespace brindle {

/// The history and how the last 30 days' unlocks ended, newest first, behind the owner's proof:
/// before that it shows nothing but the way to give it.
class HistoryPage : public QWidget {
 public:
  HistoryPage(NightjarStore& store, OwnerGate& gate, PhotoVault& vault, UnlockLog& unlocks);

 private:
  QWidget* lockedPage();
  QWidget* openPage();
  QLayout* eventColumn();
  QLayout* listColumn();
  void refresh();
  void fillList();
  void fillUnlocks();
  void showSelected();
  void showPhotos(const UnlockEvent& event);
  void withSelected(void (HistoryPage::*act)(const Uuid&, const OwnerProof&));
  void confirmSelected(const Uuid& id, const OwnerProof& proof);
  void removeSelected(const Uuid& id, const OwnerProof& proof);
  EventRef selected() const;

  NightjarStore& store_;
  OwnerGate& gate_;
  PhotoVault& vault_;
  UnlockLog& unlocks_;
  QStackedLayout* pages_;
  QListWidget* list_ = nullptr;
  QListWidget* outcomes_ = nullptr;
  QCheckBox* own_ = nullptr;
  QLabel* details_ = nullptr;
  QWidget* photos_ = nullptr;
  QPushButton* mine_ = nullptr;
  QPushButton* remove_ = nullptr;
  EventList listed_;
  QStringList listedUnlocks_;
  Subscription changes_, recorded_;
};

}  // namespace brindle
