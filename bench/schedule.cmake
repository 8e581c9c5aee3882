# The next start of a long turn-on schedule.
find_package(benchmark REQUIRED)
add_executable(schedule_bench schedule_bench.cpp)
target_link_libraries(schedule_bench PRIVATE
  brindle_trigger_schedule brindle_linux_calendar brindle_linux_system brindle_memory benchmark::benchmark_main)
