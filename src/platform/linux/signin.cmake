# Sleep, process activity, machine, links, sign-in and push.
brindle_library(brindle_linux_signin
  SOURCES browser_linux.cpp link_handler.cpp loopback_redirect.cpp machine_linux.cpp push_registration_linux.cpp
    system_power_linux.cpp web_sign_in_linux.cpp
  LINKS brindle_linux_desktop
  PRIVATE_LINKS PkgConfig::SDBUS PkgConfig::FMT)
brindle_test(sleep_logind_test SOURCES sleep_logind_test.cpp
  LINKS brindle_linux_signin brindle_testing LABELS peers WRAPPER ${peers}/real-logind)
brindle_test(signin_linux_test SOURCES links_machine_test.cpp signin_linux_test.cpp
  LINKS brindle_linux_signin brindle_memory brindle_testing PkgConfig::SDBUS LABELS peers)
if(BRINDLE_TESTS)
  target_compile_definitions(signin_linux_test PRIVATE BRINDLE_PEERS="${peers}")
endif()
