#include "ui/triggers_page.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/owner_check_dialog.h"
#include "ui/texts.h"

namespace brindle {
namespace {

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

/// Qt counts from Monday, the schedule from Sunday.
QString dayName(int weekday, QLocale::FormatType format) {
  return QLocale().dayName(weekday == 1 ? 7 : weekday - 1, format);
}

QString timeText(const ScheduleTime& time) {
  QStringList days;
  for (const int day : time.weekdays) days << dayName(day, QLocale::ShortFormat);
  const QString when = QLocale().toString(QTime(time.hour, time.minute), QLocale::ShortFormat);
  return when + "   " + days.join(", ") + (time.isOn ? QString() : translated(" (off)"));
}

}  // namespace

TriggersPage::TriggersPage(Parts parts) : parts_(parts) {
  auto* column = new QVBoxLayout(this);
  addAlarm(column);
  addIdle(column);
  addSchedule(column);
  message_ = new QLabel;
  message_->setWordWrap(true);
  column->addWidget(message_);
  column->addStretch();
  changes_ = parts_.store.onChange([this] { refresh(); });
  refresh();
}

void TriggersPage::addAlarm(QLayout* layout) {
  QCheckBox* unplugged = addSetting(layout, "Sound the alarm when the power adapter is unplugged",
                                    &AlarmSettings::unplugged);
  unplugged->setEnabled(parts_.power.hasBattery());
  addSetting(layout, "Sound the alarm when the lid is closed", &AlarmSettings::lid);
  addSetting(layout, "Sound the alarm when an unlock is not confirmed",
             &AlarmSettings::unconfirmed);
  addSetting(layout, "Keep this Mac awake while Brindle is on", &AlarmSettings::stayAwake);
}

QCheckBox* TriggersPage::addSetting(QLayout* layout, const char* text,
                                    bool AlarmSettings::*setting) {
  auto* box = new QCheckBox(translated(text));
  layout->addWidget(box);
  settings_.emplace_back(box, setting);
  connect(box, &QCheckBox::clicked, this, [this, setting](bool on) {
    guarded([this, setting, on] { changeSettings(setting, on); });
    refresh();
  });
  return box;
}

void TriggersPage::addIdle(QLayout* layout) {
  auto* box = new QWidget;
  auto* form = new QFormLayout(box);
  form->setContentsMargins(0, 0, 0, 0);
  minutes_ = new QSpinBox;
  minutes_->setRange(0, static_cast<int>(IdleCheckIn::longestMinutes));
  minutes_->setSpecialValueText(translated("never"));
  minutes_->setSuffix(translated(" min"));
  minutes_->setAccessibleName(translated("Minutes without a touch before a check-in"));
  form->addRow(shown("Check in when you come back"), minutes_);
  layout->addWidget(box);
  connect(minutes_, &QSpinBox::editingFinished, this, [this] {
    const std::int64_t wanted = minutes_->value();
    if (wanted == parts_.idle.minutes()) return;
    // As with every field that loses its focus to the owner check: the old one holds until then.
    minutes_->setValue(static_cast<int>(parts_.idle.minutes()));
    guarded([this, wanted] { stored(parts_.idle.setMinutes(wanted)); });
  });
}

void TriggersPage::addSchedule(QLayout* layout) {
  layout->addWidget(new QLabel(shown("A schedule only ever turns Brindle on, never off.")));
  times_ = new QListWidget;
  times_->setAccessibleName(translated("Times at which Brindle turns on"));
  layout->addWidget(times_);
  auto* buttons = new QWidget;
  auto* row = new QHBoxLayout(buttons);
  row->setContentsMargins(0, 0, 0, 0);
  auto* onOff = new QPushButton(translated("Turn this time on or off"));
  auto* remove = new QPushButton(translated("Remove this time"));
  row->addWidget(onOff);
  row->addWidget(remove);
  layout->addWidget(buttons);
  layout->addWidget(newTimeRow());
  connect(onOff, &QPushButton::clicked, this, [this] {
    changeTimes([](auto& times, std::size_t at) { times[at].isOn = !times[at].isOn; });
  });
  connect(remove, &QPushButton::clicked, this, [this] {
    changeTimes([](auto& times, std::size_t at) {
      times.erase(times.begin() + static_cast<std::ptrdiff_t>(at));
    });
  });
}

QWidget* TriggersPage::newTimeRow() {
  auto* box = new QWidget;
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(0, 0, 0, 0);
  clock_ = new QTimeEdit(QTime(9, 0));
  clock_->setAccessibleName(translated("Time"));
  row->addWidget(clock_);
  for (int weekday = 1; weekday <= 7; ++weekday) {
    auto* day = new QCheckBox(dayName(weekday, QLocale::ShortFormat));
    day->setObjectName("day " + QString::number(weekday));
    day->setAccessibleName(dayName(weekday, QLocale::LongFormat));
    days_[static_cast<std::size_t>(weekday - 1)] = day;
    row->addWidget(day);
  }
  auto* add = new QPushButton(translated("Add this time"));
  row->addWidget(add);
  connect(add, &QPushButton::clicked, this, &TriggersPage::addTime);
  return box;
}

void TriggersPage::addTime() {
  ScheduleTime time{.id = parts_.random.newUuid(),
                    .weekdays = {},
                    .hour = clock_->time().hour(),
                    .minute = clock_->time().minute(),
                    .isOn = true};
  for (std::size_t i = 0; i < days_.size(); ++i) {
    if (days_[i]->isChecked()) time.weekdays.insert(static_cast<int>(i) + 1);
  }
  if (time.weekdays.empty()) return say(shown("Choose at least one day."));
  guarded([this, time] {
    auto times = parts_.schedule.times();
    times.push_back(time);
    stored(parts_.schedule.setTimes(std::move(times)));
  });
}

void TriggersPage::changeTimes(
    std::function<void(std::vector<ScheduleTime>&, std::size_t row)> change) {
  const int row = times_->currentRow();
  if (row < 0 || static_cast<std::size_t>(row) >= parts_.schedule.times().size()) return;
  const Uuid id = parts_.schedule.times()[static_cast<std::size_t>(row)].id;
  guarded([this, id, change = std::move(change)] {
    auto times = parts_.schedule.times();
    const auto chosen = std::ranges::find(times, id, &ScheduleTime::id);
    if (chosen == times.end()) return;
    change(times, static_cast<std::size_t>(chosen - times.begin()));
    stored(parts_.schedule.setTimes(std::move(times)));
  });
}

void TriggersPage::changeSettings(bool AlarmSettings::*setting, bool on) {
  AlarmSettings settings = parts_.alarm.settings();
  settings.*setting = on;
  stored(parts_.alarm.setSettings(settings));
}

void TriggersPage::guarded(std::function<void()> act) {
  if (!parts_.store.armed()) return act();
  withProof(window(), parts_.gate, OwnerPurpose::action,
            [act = std::move(act)](const OwnerProof&) { act(); });
}

void TriggersPage::stored(bool well) {
  say(well ? QString() : translated("That could not be saved."));
  refresh();
}

void TriggersPage::refresh() {
  const AlarmSettings settings = parts_.alarm.settings();
  for (const auto& [box, setting] : settings_) box->setChecked(settings.*setting);
  if (!minutes_->hasFocus()) minutes_->setValue(static_cast<int>(parts_.idle.minutes()));
  minutes_->setEnabled(parts_.idle.available());
  minutes_->setToolTip(parts_.idle.available()
                           ? QString()
                           : translated("This desktop does not tell how long nobody touched it."));
  const int row = times_->currentRow();
  times_->clear();
  for (const ScheduleTime& each : parts_.schedule.times()) times_->addItem(timeText(each));
  times_->setCurrentRow(std::clamp(row, 0, std::max(0, times_->count() - 1)));
}

}  // namespace brindle
