# A request's way to the wire.
add_executable(http_bench http_bench.cpp)
target_link_libraries(http_bench PRIVATE
  brindle_linux_service brindle_linux_system brindle_scripted_socket PkgConfig::FMT Threads::Threads)
