# Adapter and lid; what keeps the machine awake.
brindle_library(brindle_linux_power
  SOURCES lid_switch.cpp power_assertion_linux.cpp power_source_linux.cpp upower.cpp
  LINKS brindle_linux_desktop
  PRIVATE_LINKS PkgConfig::SDBUS)
brindle_test(power_linux_test SOURCES power_linux_test.cpp
  LINKS brindle_linux_power brindle_testing PkgConfig::SDBUS LABELS peers WRAPPER ${peers}/real-logind)
if(BRINDLE_TESTS)
  target_compile_definitions(power_linux_test PRIVATE BRINDLE_PEERS="${peers}")
endif()
