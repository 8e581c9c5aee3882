# How long nobody has touched anything: GNOME's compositor, an X display, a Wayland compositor.
pkg_check_modules(XCB_IDLE REQUIRED IMPORTED_TARGET xcb xcb-screensaver)
pkg_check_modules(WAYLAND REQUIRED IMPORTED_TARGET wayland-client)
pkg_get_variable(wayland_scanner wayland-scanner wayland_scanner)
pkg_get_variable(wayland_protocols wayland-protocols pkgdatadir)
find_package(PlasmaWaylandProtocols REQUIRED)

# The scanner writes C.
enable_language(C)
set(protocols ${CMAKE_CURRENT_BINARY_DIR}/protocols)
file(MAKE_DIRECTORY ${protocols})
function(brindle_protocol name file)
  set(header ${protocols}/${name}-client.h)
  set(code ${protocols}/${name}.c)
  add_custom_command(OUTPUT ${header} ${code} DEPENDS ${file}
    COMMAND ${wayland_scanner} client-header ${file} ${header}
    COMMAND ${wayland_scanner} private-code ${file} ${code} VERBATIM)
  target_sources(brindle_wayland_protocols PRIVATE ${header} ${code})
endfunction()
add_library(brindle_wayland_protocols STATIC)
brindle_protocol(ext-idle-notify-v1 ${wayland_protocols}/staging/ext-idle-notify/ext-idle-notify-v1.xml)
brindle_protocol(kde-idle ${PLASMA_WAYLAND_PROTOCOLS_DIR}/idle.xml)
target_include_directories(brindle_wayland_protocols SYSTEM PUBLIC ${protocols})
target_link_libraries(brindle_wayland_protocols PUBLIC PkgConfig::WAYLAND)

brindle_library(brindle_linux_idle
  SOURCES idle_mutter.cpp idle_time_linux.cpp idle_wayland.cpp idle_x11.cpp
  LINKS brindle_linux_system
  PRIVATE_LINKS brindle_linux_desktop brindle_wayland_protocols PkgConfig::XCB_IDLE PkgConfig::SDBUS)

brindle_test(idle_time_linux_test SOURCES idle_time_linux_test.cpp
  LINKS brindle_linux_idle brindle_linux_desktop brindle_memory brindle_testing PkgConfig::SDBUS LABELS peers)
if(BRINDLE_TESTS)
  target_compile_definitions(idle_time_linux_test PRIVATE BRINDLE_PEERS="${CMAKE_SOURCE_DIR}/tests/peers")
endif()
