target_sources(brindle_memory PRIVATE background_transfer_memory.cpp http_memory.cpp)
if(BRINDLE_TESTS)
  target_sources(brindle_memory_test PRIVATE signin_memory_test.cpp)
endif()
