# Whatever a peer of the control socket sends.
add_executable(request_fuzz request_fuzz.cpp)
target_link_libraries(request_fuzz PRIVATE brindle_messages)
target_compile_options(request_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(request_fuzz PRIVATE -fsanitize=fuzzer)
