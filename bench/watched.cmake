# Watched files and folders, from an opening to its event.
add_executable(watched_bench watched_bench.cpp)
target_link_libraries(watched_bench PRIVATE
  brindle_linux_watching brindle_linux_system brindle_posix PkgConfig::FMT)
