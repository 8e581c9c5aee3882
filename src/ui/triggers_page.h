#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTimeEdit>
#include <QWidget>
#include <array>
#include <functional>

#include "base/subscription.h"
#include "core/nightjar_store.h"
#include "owner/owner_gate.h"
#include "triggers/alarm_engine.h"
#include "triggers/idle_check_in.h"
#include "triggers/turn_on_schedule.h"

namespace brindle {

/// What the alarm sounds for, when the guard turns itself on, and after how long an absence the
/// owner checks in. Changes need proof while the guard is on.
class TriggersPage : public QWidget {
 public:
  struct Parts {
    NightjarStore& store;
    OwnerGate& gate;
    AlarmEngine& alarm;
    TurnOnSchedule& schedule;
    IdleCheckIn& idle;
    const PowerSource& power;
    Random& random;
  };
  explicit TriggersPage(Parts parts);

 protected:
  bool event(QEvent* event) override;

 private:
  void addAlarm(QLayout* layout);
  void addIdle(QLayout* layout);
  void addSchedule(QLayout* layout);
  QWidget* newTimeRow();
  QCheckBox* addSetting(QLayout* layout, const char* text, bool AlarmSettings::*setting);
  void refresh();
  void fillTimes();
  const ScheduleTime* chosen() const;
  void showChosen();
  void guarded(std::function<void()> act);
  void changeSettings(bool AlarmSettings::*setting, bool on);
  void addTime();
  void changeTimes(std::function<void(std::vector<ScheduleTime>&, std::size_t row)> change);
  void stored(bool well);
  void say(const QString& text) { message_->setText(text); }

  Parts parts_;
  std::vector<std::pair<QCheckBox*, bool AlarmSettings::*>> settings_;
  QCheckBox* unplugged_ = nullptr;
  QSpinBox* minutes_ = nullptr;
  QLabel* unavailable_ = nullptr;  ///< why no minutes can be chosen
  std::vector<ScheduleTime> listed_;
  QListWidget* times_ = nullptr;
  QPushButton *onOff_ = nullptr, *remove_ = nullptr;
  QTimeEdit* clock_ = nullptr;
  std::array<QCheckBox*, 7> days_{};
  QLabel* message_ = nullptr;
  Subscription changes_;
};

}  // namespace brindle
