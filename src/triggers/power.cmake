# Adapter and lid.
brindle_library(brindle_trigger_power
  SOURCES power_watcher.cpp
  LINKS brindle_platform)
brindle_test(power_watcher_test
  SOURCES power_watcher_test.cpp
  LINKS brindle_trigger_power brindle_memory brindle_testing)
