# Sealing beside what the library alone costs, and beside another program.
add_executable(seal_bench seal_bench.cpp)
target_link_libraries(seal_bench PRIVATE
  brindle_vault_crypto brindle_openssl brindle_linux_system brindle_memory PkgConfig::FMT)
