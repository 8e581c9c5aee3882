# Reports with photos that nobody confirmed, and notices between the owner's devices.
brindle_library(brindle_service_alerts
  SOURCES alert_body_moves.cpp alert_index_json.cpp alert_outbox.cpp alert_sender.cpp
    multipart_body.cpp
  LINKS brindle_service_client brindle_core
  PRIVATE_LINKS PkgConfig::FMT)
brindle_test(service_alerts_test
  SOURCES alert_sender_test.cpp
  LINKS brindle_service_alerts brindle_scripted_service brindle_memory brindle_testing)
