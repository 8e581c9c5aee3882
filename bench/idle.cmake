# The idle check-in while somebody is away.
add_executable(idle_bench idle_bench.cpp)
target_link_libraries(idle_bench PRIVATE
  brindle_linux_idle brindle_linux_desktop brindle_linux_system brindle_trigger_idle brindle_posix PkgConfig::FMT)
