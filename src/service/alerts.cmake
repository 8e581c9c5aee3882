# Reports with photos that nobody confirmed, and notices between the owner's devices.
brindle_library(brindle_service_alerts
  SOURCES alert_body_moves.cpp alert_index_json.cpp alert_outbox.cpp alert_sender.cpp
    multipart_body.cpp other_device_notice.cpp other_device_notice_json.cpp
    push_registrar.cpp push_sync.cpp received_notices.cpp
  LINKS brindle_service_client brindle_core
  PRIVATE_LINKS PkgConfig::FMT)
brindle_test(service_alerts_test
  SOURCES alert_sender_test.cpp push_sync_test.cpp
  LINKS brindle_service_alerts brindle_scripted_service brindle_memory brindle_testing)
