# Lock signals, the log of unlocks, and what the application shell decides.
target_sources(brindle_core PRIVATE
  menu_content.cpp quit_request.cpp session_mark.cpp start_at_login.cpp unlock_log.cpp
  unlock_log_file.cpp unlock_log_json.cpp unlock_monitor.cpp update_settle.cpp)

brindle_test(shell_test
  SOURCES shell_rules_test.cpp unlock_log_test.cpp unlock_monitor_test.cpp update_settle_test.cpp
  LINKS brindle_core brindle_memory brindle_testing)
