# The alert watch: what the service is told while the guard is on, and the sleep that waits for it.
brindle_library(brindle_service_watch
  SOURCES alert_watch_bodies.cpp alert_watch_events.cpp alert_watch_json.cpp alert_watch_outbox.cpp
    device_id.cpp first_characters.cpp heartbeat.cpp sleep_hold.cpp
  LINKS brindle_service_client brindle_core_records
  PRIVATE_LINKS PkgConfig::ICU)
