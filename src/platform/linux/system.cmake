# Services without D-Bus or a display.
brindle_library(brindle_linux_system
  SOURCES boot_clock_linux.cpp journal_sink.cpp local_socket_linux.cpp preferences_linux.cpp random_linux.cpp scheduler_linux.cpp
  LINKS brindle_platform brindle_posix brindle_openssl
  PRIVATE_LINKS PkgConfig::FMT PkgConfig::SYSTEMD)
brindle_test(brindle_linux_system_test
  SOURCES files_linux_test.cpp log_sinks_test.cpp system_linux_test.cpp
  LINKS brindle_linux_system brindle_memory brindle_testing)
