# Bookmarks of files and folders.
brindle_library(brindle_linux_apps
  SOURCES bookmark_record.cpp bookmarks_linux.cpp file_identity_look.cpp moved_file.cpp
  LINKS brindle_platform brindle_posix)

brindle_test(running_apps_linux_test
  SOURCES bookmarks_linux_test.cpp
  LINKS brindle_linux_apps brindle_linux_system brindle_memory brindle_testing)
