# Whatever lies where "state.json" should be.
add_executable(state_fuzz state_fuzz.cpp)
target_link_libraries(state_fuzz PRIVATE brindle_core_records)
target_compile_options(state_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(state_fuzz PRIVATE -fsanitize=fuzzer)
