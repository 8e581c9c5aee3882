# Memory backends: driven by tests and by the rehearsal, used nowhere else.
brindle_library(brindle_memory
  SOURCES crypto_memory.cpp files_memory.cpp
  LINKS brindle_platform
  PRIVATE_LINKS brindle_openssl)
brindle_test(brindle_memory_test
  SOURCES memory_test.cpp
  LINKS brindle_memory brindle_testing brindle_scripted_service)
