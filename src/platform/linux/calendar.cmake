# The time zone of the session.
brindle_library(brindle_linux_calendar
  SOURCES calendar_linux.cpp
  LINKS brindle_platform brindle_posix)
brindle_test(calendar_linux_test
  SOURCES calendar_linux_test.cpp
  LINKS brindle_linux_calendar brindle_linux_system brindle_memory brindle_testing)
