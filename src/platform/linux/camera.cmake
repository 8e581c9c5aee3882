# Photographs: GStreamer over V4L2, libjpeg-turbo, a plain X11 window.
brindle_library(brindle_linux_camera
  SOURCES camera_feed.cpp camera_gstreamer.cpp camera_pipeline.cpp flash_x11.cpp image_jpeg.cpp
    v4l2_cameras.cpp
  LINKS brindle_platform
  PRIVATE_LINKS PkgConfig::GST PkgConfig::X11 PkgConfig::JPEG)

# Run by the guard when it starts.
add_executable(brindle-camera-scan camera_scan_main.cpp)
target_link_libraries(brindle-camera-scan PRIVATE brindle_options PkgConfig::GST)

# Each in its own process: GStreamer's threads, a changed DISPLAY and a dying X server do not mix.
brindle_test(linux_camera_test
  SOURCES camera_gstreamer_test.cpp
  LINKS brindle_linux_camera brindle_linux_system)
brindle_test(linux_image_test
  SOURCES image_jpeg_test.cpp
  LINKS brindle_linux_camera PkgConfig::JPEG)
brindle_test(linux_flash_test
  SOURCES flash_x11_test.cpp
  LINKS brindle_linux_camera PkgConfig::X11)
if(BRINDLE_TESTS)
  foreach(test linux_camera_test linux_image_test)
    add_dependencies(${test} sample_frames)
    target_compile_definitions(${test} PRIVATE BRINDLE_SAMPLE_FRAMES="${BRINDLE_SAMPLE_FRAMES}")
  endforeach()
  target_include_directories(linux_image_test PRIVATE ${CMAKE_SOURCE_DIR})  # tools/jpeg_writing.h
  set_tests_properties(linux_camera_test PROPERTIES
    ENVIRONMENT "GST_REGISTRY=${CMAKE_CURRENT_BINARY_DIR}/gstreamer-registry.bin")
endif()
