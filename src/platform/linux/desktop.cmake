# Services of the desktop: D-Bus, the keyring, autostart, signals.
brindle_library(brindle_linux_desktop
  SOURCES dbus_link.cpp dbus_service.cpp desktop_entry.cpp display_power.cpp keychain_file.cpp
    keychain_secret_service.cpp keyring_choice.cpp logind_session.cpp login_item_linux.cpp
    notifications_linux.cpp quit_sender_linux.cpp screen_lock_linux.cpp screensaver.cpp
    secret_service_call.cpp
  LINKS brindle_linux_system
  PRIVATE_LINKS PkgConfig::SDBUS PkgConfig::SECRET PkgConfig::FMT)

set(peers ${CMAKE_SOURCE_DIR}/tests/peers)
brindle_test(desktop_files_test SOURCES desktop_files_test.cpp
  LINKS brindle_linux_desktop brindle_memory brindle_testing)
brindle_test(desktop_bus_test SOURCES desktop_bus_test.cpp
  LINKS brindle_linux_desktop brindle_memory brindle_testing PkgConfig::SDBUS LABELS peers)
brindle_test(logind_test SOURCES logind_test.cpp
  LINKS brindle_linux_desktop brindle_testing PkgConfig::SDBUS LABELS peers WRAPPER ${peers}/real-logind)
brindle_test(secret_service_test SOURCES secret_service_test.cpp
  LINKS brindle_linux_desktop LABELS peers WRAPPER ${peers}/keyring)
if(BRINDLE_TESTS)
  target_compile_definitions(desktop_bus_test PRIVATE BRINDLE_PEERS="${peers}")
endif()
