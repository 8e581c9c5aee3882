# Bookmarks of files and folders; the applications of the session.
brindle_library(brindle_linux_apps
  SOURCES app_scopes.cpp application_entry.cpp bookmark_record.cpp bookmarks_linux.cpp desktop_apps.cpp
    file_identity_look.cpp moved_file.cpp own_processes.cpp process_look.cpp running_apps_linux.cpp
    x11_clients.cpp
  LINKS brindle_platform brindle_posix
  PRIVATE_LINKS brindle_linux_desktop PkgConfig::X11)

brindle_test(running_apps_linux_test
  SOURCES bookmarks_linux_test.cpp running_apps_linux_test.cpp
  LINKS brindle_linux_apps brindle_linux_system brindle_memory brindle_testing PkgConfig::X11)
