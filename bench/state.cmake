# Reading and writing the history, side by side with the usual JSON library.
find_package(nlohmann_json REQUIRED)
add_executable(state_bench state_bench.cpp)
target_link_libraries(state_bench PRIVATE brindle_core_records nlohmann_json::nlohmann_json)
