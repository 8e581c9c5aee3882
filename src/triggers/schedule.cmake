# The times at which the guard turns itself on.
brindle_library(brindle_trigger_schedule
  SOURCES schedule_time.cpp schedule_time_json.cpp turn_on_schedule.cpp
  LINKS brindle_core)
if(NOT APPLE)
  # A year of it is played by the rules of real time zones.
  brindle_test(turn_on_schedule_test
    SOURCES turn_on_schedule_test.cpp
    LINKS brindle_trigger_schedule brindle_linux_calendar brindle_linux_system brindle_memory brindle_testing)
endif()
