# Helpers that keep every folder's list short and every target under the same rules.

find_package(PkgConfig REQUIRED)

add_library(brindle_options INTERFACE)
target_include_directories(brindle_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(brindle_options INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wold-style-cast -Wnon-virtual-dtor)
if(BRINDLE_WERROR)
  target_compile_options(brindle_options INTERFACE -Werror)
endif()
if(BRINDLE_SANITIZE)
  target_compile_options(brindle_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(brindle_options INTERFACE -fsanitize=address,undefined)
endif()
if(BRINDLE_FUZZ)
  # Coverage of our own code steers the fuzzer; the targets themselves bring its main.
  target_compile_options(brindle_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(BRINDLE_RELEASED_APP)
  target_compile_definitions(brindle_options INTERFACE BRINDLE_RELEASED_APP=1)
endif()

# brindle_library(NAME SOURCES a.cpp … LINKS lib …)
function(brindle_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC brindle_options ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
endfunction()

# brindle_test(NAME SOURCES a_test.cpp … LINKS lib … [LABELS l …] [WRAPPER command …])
# One executable per folder and purpose; each gtest suite member becomes no ctest of its own, because
# starting a sanitized process per test costs more than the tests do. WRAPPER runs the executable
# inside a prepared place (a private bus, a display).
function(brindle_test name)
  if(NOT BRINDLE_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINKS;LABELS;WRAPPER" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gmock GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${ARG_WRAPPER} $<TARGET_FILE:${name}>)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  # 77 from a wrapper or from brindle's test main means "skipped, with its reason printed".
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} SKIP_RETURN_CODE 77 LABELS "${ARG_LABELS}")
endfunction()

# pkg-config modules as imported targets, declared once.
pkg_check_modules(FMT REQUIRED IMPORTED_TARGET fmt)
if(NOT APPLE)
  pkg_check_modules(SDBUS REQUIRED IMPORTED_TARGET sdbus-c++)
  pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
  pkg_check_modules(SECRET REQUIRED IMPORTED_TARGET libsecret-1)
  pkg_check_modules(GST REQUIRED IMPORTED_TARGET
    gstreamer-1.0 gstreamer-app-1.0 gstreamer-video-1.0)
  pkg_check_modules(X11 REQUIRED IMPORTED_TARGET x11 xext xrandr)
endif()
pkg_check_modules(JPEG REQUIRED IMPORTED_TARGET libjpeg)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n)
find_package(OpenSSL 3 REQUIRED)
find_package(Boost 1.81 REQUIRED COMPONENTS json)
find_package(Threads REQUIRED)
