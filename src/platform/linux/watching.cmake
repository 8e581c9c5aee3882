# What is opened, made, moved and removed, and who opened it.
brindle_library(brindle_linux_watching
  SOURCES file_events_fanotify.cpp file_events_files.cpp file_events_folders.cpp
    file_events_inotify.cpp file_events_linux.cpp file_events_observation.cpp
    file_events_places.cpp file_events_probe.cpp file_events_stream.cpp mount_watch.cpp
    opened_files_linux.cpp
  LINKS brindle_platform
  PRIVATE_LINKS brindle_posix PkgConfig::FMT Threads::Threads)
brindle_test(file_events_linux_test
  SOURCES file_events_linux_test.cpp opened_files_linux_test.cpp
  LINKS brindle_linux_watching brindle_linux_system brindle_testing brindle_memory)
