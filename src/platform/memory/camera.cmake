target_sources(brindle_memory PRIVATE camera_memory.cpp image_memory.cpp)

brindle_test(memory_camera_test SOURCES camera_contract_test.cpp LINKS brindle_memory brindle_testing)
