# Whatever lies where the list of turn-on times should be. Only what reads and writes it is compiled.
add_executable(schedule_fuzz ${CMAKE_CURRENT_LIST_DIR}/schedule_fuzz.cpp
  ${CMAKE_SOURCE_DIR}/src/triggers/schedule_time_json.cpp)
target_link_libraries(schedule_fuzz PRIVATE brindle_base)
target_compile_options(schedule_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(schedule_fuzz PRIVATE -fsanitize=fuzzer)
