# The guard store and its rules. What it drives is declared here and implemented elsewhere.
brindle_library(brindle_core
  SOURCES alert_hold.cpp alert_reports.cpp arming.cpp attempt_recording.cpp
    camera_off_alerts.cpp device_notices.cpp event_files.cpp
    event_history.cpp event_photos.cpp live_unlock_notifier.cpp nightjar_store.cpp
    occurrence_extras.cpp opening_folding.cpp owed_reports.cpp owner_secrets.cpp quit_wait.cpp relaunch.cpp
    report_retry.cpp secrets_flow.cpp state_saving.cpp stored_ids.cpp unlock_handling.cpp vault_hand_over.cpp
    vault_items.cpp
  LINKS brindle_core_records)

brindle_test(guard_store_test
  SOURCES guard_rules_test.cpp guard_random_test.cpp hand_over_test.cpp nightjar_store_test.cpp
    relaunch_test.cpp
  LINKS brindle_guard_testing)
