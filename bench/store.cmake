# From an occurrence to the camera and to the disk.
add_executable(store_bench store_bench.cpp)
target_link_libraries(store_bench PRIVATE
  brindle_core brindle_linux_system brindle_memory brindle_posix PkgConfig::FMT)
