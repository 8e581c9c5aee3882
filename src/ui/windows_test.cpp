#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include "core/start_at_login.h"
#include "owner/fingerprint_check.h"
#include "owner/keychain_items.h"
#include "owner/keychain_marks.h"
#include "platform/memory/audio_output_memory.h"
#include "platform/memory/calendar_memory.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/idle_time_memory.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/login_item_memory.h"
#include "platform/memory/power_assertion_memory.h"
#include "platform/memory/power_source_memory.h"
#include "platform/memory/sound_player_memory.h"
#include "testing/guard_fixture.h"
#include "ui/alarm_stop.h"
#include "ui/guarded_window.h"
#include "ui/key_window.h"

namespace brindle {
namespace {

constexpr auto pinText = "271828";

/// The store of the fixture with real secrets and the real gate, and windows over both.
class WindowsTest : public GuardFixture {
 protected:
  void SetUp() override {
    GuardFixture::SetUp();
    gate = std::make_unique<OwnerGate>(keeper, *store, noFingerprint, scheduler);
    keeper.savePin(SecretText(pinText), SecretText(pinText), nullptr,
                   [](PinSaved saved) { ASSERT_EQ(saved, PinSaved::saved); });
    settle();
  }
  void TearDown() override {
    guarded.reset();
    window.reset();
    gate.reset();
    GuardFixture::TearDown();
  }

  void settle() {
    scheduler.run();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  /// What a person sees: the visible widget of a kind that carries this name or text.
  template <class W>
  W* seen(const QString& name) {
    for (QWidget* widget : QApplication::allWidgets()) {
      auto* match = qobject_cast<W*>(widget);
      if (match && match->isVisible() && nameOf(match) == name) return match;
    }
    return nullptr;
  }
  static QString nameOf(QLineEdit* field) { return field->accessibleName(); }
  static QString nameOf(QPushButton* button) { return button->text().remove('&'); }
  static QString nameOf(QLabel* label) { return label->text(); }
  static QString nameOf(QListWidget* list) { return list->accessibleName(); }

  void enterPin(const QString& digits) {
    auto* field = seen<QLineEdit>("Brindle PIN");
    ASSERT_TRUE(field);
    QTest::keyClicks(field, digits);
    QTest::keyClick(field, Qt::Key_Return);
    settle();
  }
  Uuid unlockGuarded() {
    turnOn();
    guarded = std::make_unique<GuardedWindow>(*store, *gate, screen,
                                              [this](auto windows) { held = windows.size(); });
    EXPECT_FALSE(guarded->shown());
    const Uuid id = unlockAndSettle();
    settle();
    return id;
  }
  void openWindow(KeyWindow::Page page = KeyWindow::Page::guard) {
    window = std::make_unique<KeyWindow>(KeyWindow::Parts{
        .settings = {*store, *gate, keeper, startAtLogin, "The keyring is a file."},
        .triggers = {*store, *gate, alarm, schedule, idle, power, random},
        .unlocks = unlocks,
        .vault = *vault,
        .askForCamera = [this] { ++cameraAsked; },
        .lockSourceProblem = [this] { return lockProblem; }});
    window->show(page);
    settle();
  }
  QString notice() { return window->findChild<QLabel*>("notice")->text(); }
  void press(const QString& text) {
    auto* button = seen<QPushButton>(text);
    ASSERT_TRUE(button) << text.toStdString();
    button->click();
    settle();
  }

  MemoryKeychain keychain;
  MemoryCrypto crypto;
  KeychainMarks marks{defaults, scheduler};
  KeychainItems items{keychain, marks, Log(lines), "com.corvane.brindle"};
  VirtualWorkerQueue secretWork{scheduler};
  SecretStore keeper{
      {items, crypto, random, defaults, clock, scheduler, secretWork, Log(lines), "en_GB"}};
  NoFingerprintCheck noFingerprint;
  MemoryLoginItem loginItem;
  StartAtLoginOnArm startAtLogin{loginItem, defaults, Log(lines), [](auto) { return true; }};
  MemoryAudioOutputs outputs{scheduler};
  MemorySoundPlayer player{scheduler};
  MemoryPowerAssertions assertions;
  MemoryPowerSource power{scheduler};
  MemoryIdleTime idleTime{scheduler};
  MemoryCalendar calendar{scheduler};
  AlarmEngine alarm{{defaults, outputs, player, assertions, scheduler, Log(lines), "alarm.wav"}};
  TurnOnSchedule schedule{defaults, calendar, scheduler, Log(lines)};
  IdleCheckIn idle{{idleTime, defaults, scheduler, Log(lines)}};
  UnlockLog unlocks{
      {files, secretWork, defaults, calendar, scheduler, [] { return "now"; }, Log(lines)},
      "/log.json"};
  std::string lockProblem;
  int cameraAsked = 0;
  std::size_t held = 0;
  std::unique_ptr<OwnerGate> gate;
  std::unique_ptr<GuardedWindow> guarded;
  std::unique_ptr<KeyWindow> window;
};

TEST_F(WindowsTest, GuardedWindowStaysThroughALockOutUntilTheRightPin) {
  unlockGuarded();
  EXPECT_EQ(held, static_cast<std::size_t>(QGuiApplication::screens().size()));
  EXPECT_TRUE(seen<QLabel>("This Mac is guarded."));
  for (QWidget* top : QApplication::topLevelWidgets()) top->close();
  EXPECT_TRUE(guarded->shown());
  EXPECT_TRUE(seen<QLineEdit>("Brindle PIN")) << "closed from outside";

  enterPin("1111");
  EXPECT_TRUE(seen<QLabel>("Wrong PIN. Photo taken."));
  EXPECT_TRUE(seen<QLineEdit>("Brindle PIN")->text().isEmpty());
  for (int i = 0; i < 5; ++i) enterPin("1111");
  EXPECT_TRUE(seen<QLabel>("Too many wrong PINs. Try again in 60 seconds."));
  EXPECT_EQ(last()->wrongPINs, 5) << "a locked try is not counted";
  scheduler.advance(std::chrono::seconds(60));
  enterPin(pinText);
  EXPECT_FALSE(guarded->shown());
  EXPECT_EQ(held, 0U) << "the person's other windows stay out of reach";
}

TEST_F(WindowsTest, IntrudersEventIsKeptWhenTheOwnerSaysSo) {
  const Uuid id = unlockGuarded();
  press("It wasn't me");
  enterPin(pinText);
  scheduler.advance(std::chrono::seconds(1));
  settle();
  EXPECT_FALSE(guarded->shown());
  ASSERT_TRUE(store->event(id));
  EXPECT_TRUE(store->event(id)->resolved);
}

TEST_F(WindowsTest, AlarmIsStoppedByProofInTheOneWindowThatAsks) {
  alarm.resume(true);
  others.onStop = [this] { alarm.stop(); };
  unlockGuarded();
  AlarmStop stop(alarm, *store, *gate, screen);
  alarm.start(alarm_reason::powerUnplugged);
  settle();
  EXPECT_TRUE(guarded->shown() && !stop.shown());
  enterPin(pinText);
  EXPECT_FALSE(guarded->shown() || stop.shown() || alarm.sounding());
  alarm.start(alarm_reason::powerUnplugged);
  settle();
  EXPECT_TRUE(stop.shown() && seen<QLabel>("The power adapter was unplugged."));
  enterPin("1111");
  EXPECT_TRUE(stop.shown() && last()->attemptOnly);
  unlockAndSettle();
  settle();
  EXPECT_TRUE(guarded->shown() && !stop.shown());
  press("It wasn't me");
  enterPin(pinText);
  EXPECT_FALSE(guarded->shown() || stop.shown() || alarm.sounding());
  alarm.start(alarm_reason::lidClosed);
  settle();
  enterPin(pinText);
  EXPECT_FALSE(stop.shown() || alarm.sounding());
}

TEST_F(WindowsTest, HistoryOpensOnlyWithProofAndForgetsBehindAClosedDoor) {
  turnOn();
  unlockAndSettle();
  openWindow(KeyWindow::Page::history);
  EXPECT_FALSE(seen<QListWidget>("History"));
  press("Show the history…");
  enterPin(pinText);
  settle();
  auto* list = seen<QListWidget>("History");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->count(), 1);
  window->close();
  settle();
  EXPECT_FALSE(list->isVisible());
  EXPECT_EQ(list->count(), 0);
}

TEST_F(WindowsTest, GuardPageSaysWhyItStaysOffAndWhatItCannotNotice) {
  openWindow();
  EXPECT_TRUE(seen<QLabel>("Brindle is off"));
  secrets.now = {SecretState::notSet, SecretState::notSet};
  store->turnOn(ArmSource::owner());
  settle();
  EXPECT_TRUE(notice().contains("Brindle has no PIN on this Mac, so it stays off."));
  store->clearStateNotice();
  lockProblem = "no session";
  settle();
  EXPECT_TRUE(notice().contains("no session"));
  window->show(KeyWindow::Page::settings);
  EXPECT_TRUE(seen<QLabel>("The keyring is a file."));
}

TEST_F(WindowsTest, APinThatCannotBeReadIsReplacedOnlyAfterAskingAgain) {
  openWindow();
  secrets.now.pin = SecretState::unreadable;
  store->turnOn(ArmSource::owner());
  settle();
  EXPECT_FALSE(seen<QPushButton>("Choose a new PIN…"));
  press("Try again");
  press("Choose a new PIN…");
  EXPECT_TRUE(store->secretsFlow().replacingUnreadablePIN());
  ASSERT_TRUE(seen<QLineEdit>("New PIN"));
  press("Cancel");
  EXPECT_FALSE(store->secretsFlow().replacingUnreadablePIN());
}

TEST_F(WindowsTest, TimesAreChosenWithADayAndWhileOnOnlyWithProof) {
  openWindow(KeyWindow::Page::triggers);
  press("Add this time");
  EXPECT_TRUE(seen<QLabel>("Choose at least one day."));
  window->findChild<QCheckBox*>("day 2")->click();
  press("Add this time");
  ASSERT_EQ(schedule.times().size(), 1U);
  EXPECT_EQ(schedule.times()[0].weekdays, std::set<int>{2});
  const ScheduleTime another{Uuid{{9}}, {1}, 8, 0, true};
  ASSERT_TRUE(schedule.setTimes({another, schedule.times()[0]}));  // by a command
  press("Remove this time");
  EXPECT_EQ(schedule.times(), std::vector{another}) << "the one that the page shows goes";
  turnOn();
  press("Remove this time");
  EXPECT_EQ(schedule.times().size(), 1U);
  enterPin(pinText);
  EXPECT_TRUE(schedule.times().empty());
}

TEST_F(WindowsTest, SettingsAskForAProofAndForgetItWithTheLock) {
  turnOn();
  secrets.now = {SecretState::notSet, SecretState::notSet};
  store->askAgain();  // the record has vanished while on
  openWindow(KeyWindow::Page::settings);
  press("Choose a PIN…");
  EXPECT_FALSE(seen<QLineEdit>("New PIN"));
  enterPin(pinText);
  EXPECT_TRUE(seen<QLineEdit>("New PIN"));
  lock();
  settle();
  EXPECT_FALSE(seen<QLineEdit>("New PIN")) << "a proof does not outlive the lock in a dialog";
}

TEST_F(WindowsTest, OnboardingSavesTheAnswerOnceAndThenAPinThatIsGoodEnough) {
  items.remove("guard.pin");
  secrets.now = {SecretState::notSet, SecretState::notSet};
  gate.reset();
  kill();
  launch();
  gate = std::make_unique<OwnerGate>(keeper, *store, noFingerprint, scheduler);
  const auto fill = [this](std::initializer_list<std::pair<const char*, const char*>> fields) {
    for (const auto& [name, text] : fields) {
      auto* field = seen<QLineEdit>(name);
      ASSERT_TRUE(field) << name;
      QTest::keyClicks(field, text);
    }
  };
  openWindow();
  fill({{"New PIN", "1234"}, {"The PIN again", "1234"}, {"Question", "First pet?"}});
  fill({{"Answer", "Rex"}, {"The answer again", "Rix"}});
  press("Save");
  EXPECT_TRUE(seen<QLabel>("The answers don't match."));
  fill({{"Answer", "Rex"}, {"The answer again", " REX "}});
  press("Save");
  EXPECT_TRUE(seen<QLabel>("That PIN is too easy to guess. Choose another."));
  EXPECT_EQ(cameraAsked, 0);
  fill({{"New PIN", pinText}, {"The PIN again", pinText}});
  press("Save");
  EXPECT_EQ(keeper.states(), (OwnerSecrets::States{SecretState::set, SecretState::set}));
  EXPECT_EQ(cameraAsked, 1);
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
