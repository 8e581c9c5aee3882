target_sources(brindle_memory PRIVATE camera_memory.cpp image_memory.cpp)
