# What an earlier run left of the alert watch.
add_executable(watch_fuzz watch_fuzz.cpp)
target_link_libraries(watch_fuzz PRIVATE brindle_service_watch)
target_compile_options(watch_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(watch_fuzz PRIVATE -fsanitize=fuzzer)
