# Adapter and lid; what keeps the machine awake.
brindle_library(brindle_linux_power
  SOURCES power_assertion_linux.cpp power_source_linux.cpp upower.cpp
  LINKS brindle_linux_desktop
  PRIVATE_LINKS PkgConfig::SDBUS)
