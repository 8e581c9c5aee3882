# The opener for those who hold a key. It carries nothing of the guard.
brindle_library(brindle_unsealing
  SOURCES harden.cpp private_key_file.cpp terminal.cpp unseal_arguments.cpp unsealing.cpp
  LINKS brindle_vault_opener brindle_posix
  PRIVATE_LINKS OpenSSL::Crypto PkgConfig::FMT)
add_executable(brindle-unseal unseal_main.cpp)
target_link_libraries(brindle-unseal PRIVATE brindle_unsealing brindle_openssl)
# Its test sits at a terminal of its own.
if(BRINDLE_TESTS AND NOT APPLE)
  brindle_test(unseal_test
    SOURCES unseal_test.cpp
    LINKS brindle_vault_opener brindle_openssl brindle_memory util)
  add_dependencies(unseal_test brindle-unseal)
  target_compile_definitions(unseal_test PRIVATE BRINDLE_UNSEAL="$<TARGET_FILE:brindle-unseal>")
endif()
