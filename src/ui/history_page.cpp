#include "ui/history_page.h"

#include <QHBoxLayout>
#include <QPixmap>
#include <QVBoxLayout>
#include <ranges>

#include "ui/event_text.h"
#include "ui/owner_check_dialog.h"
#include "ui/texts.h"

namespace brindle {
namespace {

constexpr int thumbnailHeight = 150;
constexpr std::size_t mostThumbnails = 8;

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

/// Every picture of the event that can be shown, in the order taken.
std::vector<FileName> pictures(const UnlockEvent& event) {
  std::vector<FileName> names = event.photoFiles;
  names.insert(names.end(), event.openingPhotos.begin(), event.openingPhotos.end());
  if (names.size() > mostThumbnails) names.resize(mostThumbnails);
  return names;
}

void clear(QLayout* layout) {
  while (QLayoutItem* item = layout->takeAt(0)) {
    if (item->widget()) item->widget()->deleteLater();
    delete item;
  }
}

}  // namespace

HistoryPage::HistoryPage(NightjarStore& store, OwnerGate& gate, PhotoVault& vault,
                         UnlockLog& unlocks)
    : store_(store),
      gate_(gate),
      vault_(vault),
      unlocks_(unlocks),
      pages_(new QStackedLayout(this)) {
  pages_->addWidget(lockedPage());
  pages_->addWidget(openPage());
  changes_ = store_.onChange([this] { refresh(); });
  recorded_ = unlocks_.onChange([this] { refresh(); });
  refresh();
}

QWidget* HistoryPage::lockedPage() {
  auto* page = new QWidget;
  auto* column = new QVBoxLayout(page);
  column->setAlignment(Qt::AlignCenter);
  column->addWidget(new QLabel(translated("The history is for the owner only.")));
  auto* show = new QPushButton(translated("Show the history…"));
  column->addWidget(show);
  connect(show, &QPushButton::clicked, this, [this] {
    withProof(window(), gate_, OwnerPurpose::history,
              [this](const OwnerProof& proof) { store_.proved(proof); });
  });
  return page;
}

QWidget* HistoryPage::openPage() {
  auto* page = new QWidget;
  auto* row = new QHBoxLayout(page);
  row->addLayout(listColumn(), 2);
  row->addLayout(eventColumn(), 3);
  return page;
}

QLayout* HistoryPage::listColumn() {
  auto* column = new QVBoxLayout;
  list_ = new QListWidget;
  list_->setAccessibleName(translated("History"));
  column->addWidget(list_, 3);
  column->addWidget(new QLabel(translated("How the unlocks of the last 30 days ended")));
  outcomes_ = new QListWidget;
  outcomes_->setAccessibleName(translated("How the unlocks of the last 30 days ended"));
  outcomes_->setWordWrap(true);
  column->addWidget(outcomes_, 2);
  own_ = new QCheckBox(shown("Include your own unlocks"));
  column->addWidget(own_);
  connect(own_, &QCheckBox::clicked, this, [this](bool include) {
    if (!unlocks_.setIncludeOwn(include)) own_->setChecked(unlocks_.includeOwn());
    fillUnlocks();
  });
  return column;
}

QLayout* HistoryPage::eventColumn() {
  auto* column = new QVBoxLayout;
  details_ = new QLabel;
  details_->setWordWrap(true);
  details_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  column->addWidget(details_);
  photos_ = new QWidget;
  new QVBoxLayout(photos_);
  column->addWidget(photos_);
  column->addStretch();
  mine_ = new QPushButton(shown("That was me"));
  remove_ = new QPushButton(translated("Delete this event…"));
  column->addWidget(mine_);
  column->addWidget(remove_);
  connect(list_, &QListWidget::currentRowChanged, this, [this] { showSelected(); });
  connect(mine_, &QPushButton::clicked, this,
          [this] { withSelected(&HistoryPage::confirmSelected); });
  connect(remove_, &QPushButton::clicked, this,
          [this] { withSelected(&HistoryPage::removeSelected); });
  return column;
}

void HistoryPage::refresh() {
  // Without a PIN there is nobody to keep out, and no proof to give.
  const bool open = store_.historyUnlocked() || store_.pinState() == SecretState::notSet;
  pages_->setCurrentIndex(open ? 1 : 0);
  if (!open) {
    // What was on the page must not stay in its widgets behind a closed door.
    listed_.clear();
    list_->clear();
    outcomes_->clear();
    listedUnlocks_.clear();
  } else if (listed_ != store_.events() || list_->count() == 0) {
    fillList();
  }
  if (open) fillUnlocks();
  showSelected();
}

void HistoryPage::fillList() {
  const EventRef before = selected();
  listed_ = store_.events();
  list_->clear();
  for (auto event = listed_.rbegin(); event != listed_.rend(); ++event) {
    list_->addItem(eventDate(**event) + "   " + eventTitle(**event));
    if (before && before->id == (*event)->id) list_->setCurrentRow(list_->count() - 1);
  }
  if (list_->currentRow() < 0 && list_->count() > 0) list_->setCurrentRow(0);
}

void HistoryPage::fillUnlocks() {
  own_->setChecked(unlocks_.includeOwn());
  QStringList lines;
  for (const UnlockLogEntry& each : std::views::reverse(unlocks_.entries())) {
    const bool own = each.outcome == UnlockLogEntry::Outcome::confirmed;
    if (!own || unlocks_.includeOwn()) lines << unlockText(each);
  }
  if (lines == listedUnlocks_) return;  // whoever is reading keeps their place
  listedUnlocks_ = lines;
  outcomes_->clear();
  outcomes_->addItems(lines);
}

EventRef HistoryPage::selected() const {
  const int row = list_->currentRow();
  if (row < 0 || static_cast<std::size_t>(row) >= listed_.size()) return nullptr;
  return listed_[listed_.size() - 1 - static_cast<std::size_t>(row)];
}

void HistoryPage::showSelected() {
  const EventRef event = selected();
  clear(photos_->layout());
  mine_->setEnabled(event && !event->resolved);
  remove_->setEnabled(event != nullptr);
  if (!event) {
    details_->setText(listed_.empty() ? translated("Nothing has happened.") : QString());
    return;
  }
  QStringList lines{eventTitle(*event), eventDate(*event)};
  lines += eventDetails(*event);
  details_->setText(lines.join('\n'));
  showPhotos(*event);
}

void HistoryPage::showPhotos(const UnlockEvent& event) {
  for (const FileName& name : pictures(event)) {
    const auto bytes = vault_.readPhoto(name);
    QPixmap picture;
    const bool loaded =
        bytes && picture.loadFromData(bytes->data(), static_cast<unsigned>(bytes->size()));
    auto* label = new QLabel;
    label->setAccessibleName(translated("Photo"));
    if (loaded) {
      label->setPixmap(picture.scaledToHeight(thumbnailHeight, Qt::SmoothTransformation));
    } else {
      label->setText(translated("This photo cannot be shown."));
    }
    photos_->layout()->addWidget(label);
  }
}

void HistoryPage::withSelected(void (HistoryPage::*act)(const Uuid&, const OwnerProof&)) {
  const EventRef event = selected();
  if (!event) return;
  withProof(window(), gate_, OwnerPurpose::action,
            [this, act, id = event->id](const OwnerProof& proof) { (this->*act)(id, proof); });
}

void HistoryPage::confirmSelected(const Uuid& id, const OwnerProof& proof) {
  store_.thatWasMe(id, proof);
}

void HistoryPage::removeSelected(const Uuid& id, const OwnerProof& proof) {
  store_.deleteEvent(id, proof);
}

}  // namespace brindle
