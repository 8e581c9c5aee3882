# Notices of other devices, and the list of reports on disk.
add_executable(alerts_fuzz alerts_fuzz.cpp)
target_link_libraries(alerts_fuzz PRIVATE brindle_service_alerts)
target_compile_options(alerts_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(alerts_fuzz PRIVATE -fsanitize=fuzzer)
