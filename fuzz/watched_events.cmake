# Batches of file events in any order, with any dates. Only the detector and its rules are compiled.
add_executable(watched_events_fuzz ${CMAKE_CURRENT_LIST_DIR}/watched_events_fuzz.cpp
  ${CMAKE_SOURCE_DIR}/src/watch/known_openers.cpp ${CMAKE_SOURCE_DIR}/src/watch/open_detector.cpp
  ${CMAKE_SOURCE_DIR}/src/watch/opening_judge.cpp ${CMAKE_SOURCE_DIR}/src/watch/sweep_rule.cpp)
target_link_libraries(watched_events_fuzz PRIVATE brindle_base)
target_compile_options(watched_events_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(watched_events_fuzz PRIVATE -fsanitize=fuzzer)
