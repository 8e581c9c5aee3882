# Whatever lies where "watch-list.json" should be. Only what reads and writes it is compiled.
add_executable(watched_list_fuzz ${CMAKE_CURRENT_LIST_DIR}/watched_list_fuzz.cpp
  ${CMAKE_SOURCE_DIR}/src/watch/watch_list_json.cpp)
target_link_libraries(watched_list_fuzz PRIVATE brindle_base)
target_compile_options(watched_list_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(watched_list_fuzz PRIVATE -fsanitize=fuzzer)
