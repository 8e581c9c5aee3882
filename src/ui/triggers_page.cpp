#include "ui/triggers_page.h"

#include <QEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLocale>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/owner_check_dialog.h"
#include "ui/texts.h"

namespace brindle {
namespace {

constexpr const char* unpluggedText = "Sound the alarm when the power adapter is unplugged";

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

/// Qt counts from Monday, the schedule from Sunday.
QString dayName(int weekday, QLocale::FormatType format) {
  return QLocale().dayName(weekday == 1 ? 7 : weekday - 1, format);
}

/// As the owner's clock shows it, but never with seconds, which no start has.
QString clockFormat() {
  return QLocale().timeFormat(QLocale::ShortFormat).remove(":ss").remove(".ss");
}

QString timeText(const ScheduleTime& time) {
  QStringList days;
  for (const int day : time.weekdays) days << dayName(day, QLocale::ShortFormat);
  const QString when = QLocale().toString(QTime(time.hour, time.minute), clockFormat());
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
  unplugged_ = addSetting(layout, unpluggedText, &AlarmSettings::unplugged);
  addSetting(layout, "Sound the alarm when the lid is closed", &AlarmSettings::lid);
  addSetting(layout, "Sound the alarm when an unlock is not confirmed",
             &AlarmSettings::unconfirmed);
  addSetting(layout, "Keep this computer awake while Brindle is on", &AlarmSettings::stayAwake);
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
  unavailable_ = new QLabel(translated("This desktop does not tell how long nobody touched it."));
  layout->addWidget(unavailable_);
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
  onOff_ = new QPushButton;
  remove_ = new QPushButton(translated("Remove this time"));
  row->addWidget(onOff_);
  row->addWidget(remove_);
  layout->addWidget(buttons);
  layout->addWidget(newTimeRow());
  connect(times_, &QListWidget::currentRowChanged, this, [this] { showChosen(); });
  connect(onOff_, &QPushButton::clicked, this, [this] {
    changeTimes([](auto& times, std::size_t at) { times[at].isOn = !times[at].isOn; });
  });
  connect(remove_, &QPushButton::clicked, this, [this] {
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
  clock_->setDisplayFormat(clockFormat());
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
  const ScheduleTime* shownTime = chosen();
  if (!shownTime) return;
  guarded([this, id = shownTime->id, change = std::move(change)] {
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

/// Commands change the settings, too, and other programs what can be had.
bool TriggersPage::event(QEvent* event) {
  if (event->type() == QEvent::Show || event->type() == QEvent::WindowActivate) refresh();
  return QWidget::event(event);
}

void TriggersPage::refresh() {
  const AlarmSettings settings = parts_.alarm.settings();
  for (const auto& [box, setting] : settings_) box->setChecked(settings.*setting);
  const bool battery = parts_.power.hasBattery();
  unplugged_->setEnabled(battery);
  unplugged_->setText(translated(unpluggedText) +
                      (battery ? QString() : translated(" (there is no battery)")));
  if (!minutes_->hasFocus()) minutes_->setValue(static_cast<int>(parts_.idle.minutes()));
  minutes_->setEnabled(parts_.idle.available());
  unavailable_->setVisible(!parts_.idle.available());
  if (listed_ != parts_.schedule.times()) fillTimes();
  showChosen();
}

void TriggersPage::fillTimes() {
  const int row = times_->currentRow();
  listed_ = parts_.schedule.times();
  times_->clear();
  for (const ScheduleTime& each : listed_) times_->addItem(timeText(each));
  times_->setCurrentRow(std::clamp(row, 0, std::max(0, times_->count() - 1)));
}

/// What the list shows: the schedule may have changed since.
const ScheduleTime* TriggersPage::chosen() const {
  const int row = times_->currentRow();
  const bool any = row >= 0 && static_cast<std::size_t>(row) < listed_.size();
  return any ? &listed_[static_cast<std::size_t>(row)] : nullptr;
}

void TriggersPage::showChosen() {
  const ScheduleTime* time = chosen();
  onOff_->setEnabled(time);
  remove_->setEnabled(time);
  onOff_->setText(time && !time->isOn ? translated("Turn this time on")
                                      : translated("Turn this time off"));
}

}  // namespace brindle
