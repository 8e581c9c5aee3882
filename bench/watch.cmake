# From an occurrence to the alert service.
add_executable(watch_bench watch_bench.cpp)
target_link_libraries(watch_bench PRIVATE
  brindle_service_watch brindle_linux_system brindle_memory brindle_posix brindle_testing
  PkgConfig::FMT)
