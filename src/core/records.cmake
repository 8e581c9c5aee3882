brindle_library(brindle_core_records
  SOURCES arm_source.cpp arm_source_json.cpp event_json.cpp photo_problem.cpp photo_vault.cpp
    saved_state.cpp saved_state_json.cpp unlock_event.cpp
  LINKS brindle_platform)

brindle_test(core_records_test
  SOURCES event_json_test.cpp photo_vault_crash_test.cpp photo_vault_test.cpp saved_state_json_test.cpp
  LINKS brindle_core_records brindle_memory brindle_posix brindle_testing)
if(BRINDLE_TESTS)
  target_compile_definitions(core_records_test PRIVATE
    BRINDLE_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}/testdata")
endif()
