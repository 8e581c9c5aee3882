# Volumes and sounds, by the PulseAudio protocol.
pkg_check_modules(PULSE REQUIRED IMPORTED_TARGET libpulse sndfile)
brindle_library(brindle_linux_sound
  SOURCES audio_output_linux.cpp pulse_connection.cpp pulse_loop.cpp pulse_playing.cpp
    sound_player_linux.cpp wav_sound.cpp
  LINKS brindle_platform
  PRIVATE_LINKS PkgConfig::PULSE)

# Against both servers; the memory backends come along.
brindle_test(linux_sound_test
  SOURCES sound_linux_test.cpp
  LINKS brindle_linux_sound brindle_linux_system brindle_memory brindle_testing
  LABELS peers
  WRAPPER ${CMAKE_SOURCE_DIR}/tests/peers/sound pulseaudio)
if(BRINDLE_TESTS)
  add_test(NAME linux_sound_pipewire_test
    COMMAND ${CMAKE_SOURCE_DIR}/tests/peers/sound pipewire $<TARGET_FILE:linux_sound_test>)
  set_tests_properties(linux_sound_pipewire_test PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77 LABELS peers)
  add_dependencies(linux_sound_test alarm_sounds)
  target_compile_definitions(linux_sound_test PRIVATE
    BRINDLE_SOUNDS="${BRINDLE_SOUNDS}" BRINDLE_PEERS="${CMAKE_SOURCE_DIR}/tests/peers")
endif()
