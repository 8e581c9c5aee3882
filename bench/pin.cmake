# The check of a PIN beside the derivation it cannot do without.
add_executable(pin_bench pin_bench.cpp)
target_link_libraries(pin_bench PRIVATE
  brindle_owner brindle_openssl brindle_linux_system brindle_memory brindle_posix PkgConfig::FMT)
