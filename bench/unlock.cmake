# From a real logind's unlock signal to the camera and to the disk: what unlock_latency.py loads into the guard.
add_library(unlock_probe MODULE unlock_probe.cpp)
target_link_libraries(unlock_probe PRIVATE ${CMAKE_DL_LIBS})
