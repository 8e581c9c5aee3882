# Whatever the alert service answers, and whatever lies where our own records of it should be.
add_executable(service_fuzz service_fuzz.cpp)
target_link_libraries(service_fuzz PRIVATE brindle_service_account)
target_compile_options(service_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(service_fuzz PRIVATE -fsanitize=fuzzer)
