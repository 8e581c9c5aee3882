# The alarm: what it sounds for, that it stays loud, and that the owner's volume comes back.
brindle_library(brindle_trigger_alarm
  SOURCES alarm_engine.cpp alarm_rules.cpp alarm_settings.cpp alarm_volume.cpp saved_volumes_json.cpp
  LINKS brindle_platform)
brindle_test(alarm_engine_test
  SOURCES alarm_engine_test.cpp
  LINKS brindle_trigger_alarm brindle_memory brindle_testing)
