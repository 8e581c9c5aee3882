# Services of the network, sleep and sign-in.
pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl)
brindle_library(brindle_linux_service
  SOURCES http_curl.cpp
  LINKS brindle_platform
  PRIVATE_LINKS brindle_linux_system brindle_posix PkgConfig::CURL)
brindle_test(linux_http_test
  SOURCES http_curl_test.cpp
  LINKS brindle_linux_service brindle_linux_system brindle_scripted_socket)
include(network.cmake)             # the way to other machines
include(transfer.cmake OPTIONAL)  # uploads that outlive the program
include(signin.cmake OPTIONAL)    # sleep, process activity, machine, links, sign-in, push
