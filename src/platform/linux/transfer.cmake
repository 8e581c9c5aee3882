# Uploads that outlive the program: its side, and brindle-courier, which carries them out.
brindle_library(brindle_linux_courier
  SOURCES awake_clock.cpp courier.cpp courier_job_json.cpp courier_spool.cpp folder_watch.cpp
  LINKS brindle_platform brindle_posix
  PRIVATE_LINKS brindle_linux_system Boost::json)
brindle_library(brindle_linux_transfer
  SOURCES background_transfer_linux.cpp courier_launcher.cpp courier_unit.cpp
  LINKS brindle_linux_courier brindle_linux_desktop
  PRIVATE_LINKS PkgConfig::SDBUS)

add_executable(brindle-courier courier_main.cpp)
target_link_libraries(brindle-courier PRIVATE brindle_linux_courier brindle_linux_service)

brindle_test(linux_courier_test
  SOURCES courier_test.cpp
  LINKS brindle_linux_courier brindle_memory brindle_testing brindle_scripted_service)
brindle_test(linux_transfer_test
  SOURCES background_transfer_linux_test.cpp
  LINKS brindle_linux_transfer brindle_testing brindle_scripted_socket PkgConfig::SDBUS
  LABELS peers)
if(BRINDLE_TESTS)
  add_dependencies(linux_transfer_test brindle-courier)
  target_compile_definitions(linux_transfer_test PRIVATE
    BRINDLE_COURIER="$<TARGET_FILE:brindle-courier>" BRINDLE_PEERS="${CMAKE_SOURCE_DIR}/tests/peers")
endif()
