# The first touch of a machine that was left unlocked.
brindle_library(brindle_trigger_idle
  SOURCES idle_check_in.cpp idle_check_in_rules.cpp
  LINKS brindle_platform)
brindle_test(idle_check_in_test SOURCES idle_check_in_test.cpp
  LINKS brindle_trigger_idle brindle_memory brindle_testing)
