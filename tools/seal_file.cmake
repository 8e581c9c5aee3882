# What tests of openers seal with (sealing.mjs).
if(NOT APPLE)
  add_executable(brindle_seal_file seal_file.cpp)
  target_link_libraries(brindle_seal_file PRIVATE brindle_vault_crypto brindle_linux_system)
endif()
