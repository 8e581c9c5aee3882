# The alert watch: what the service is told while the guard is on, and the sleep that waits for it.
brindle_library(brindle_service_watch
  SOURCES alert_watch.cpp alert_watch_answering.cpp alert_watch_bodies.cpp
    alert_watch_check_ins.cpp alert_watch_launch.cpp alert_watch_events.cpp alert_watch_json.cpp alert_watch_outbox.cpp
    alert_watch_sending.cpp alert_watch_status.cpp alert_watch_turns.cpp device_id.cpp
    first_characters.cpp heartbeat.cpp outbox_move.cpp sleep_hold.cpp
  LINKS brindle_service_client brindle_core_records
  PRIVATE_LINKS PkgConfig::ICU)
brindle_test(service_watch_test
  SOURCES alert_watch_random_test.cpp alert_watch_records_test.cpp alert_watch_test.cpp
  LINKS brindle_service_watch brindle_scripted_service brindle_memory brindle_testing)
