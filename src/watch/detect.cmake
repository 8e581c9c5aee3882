# Who opens what is watched: the detector, its rules, and the monitor that runs them while the guard is on.
brindle_library(brindle_watch
  SOURCES known_openers.cpp open_detector.cpp opening_judge.cpp sweep_rule.cpp watch_monitor.cpp
    watch_monitor_paths.cpp watch_reading.cpp watched_apps.cpp watched_paths.cpp
  LINKS brindle_watch_list brindle_core)
brindle_test(watch_monitor_test
  SOURCES open_detector_test.cpp watch_monitor_test.cpp
  LINKS brindle_watch brindle_memory brindle_posix brindle_testing)
