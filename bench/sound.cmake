# From "play" to the sound at the output: what sound.py drives.
add_executable(sound_probe sound_probe.cpp)
target_link_libraries(sound_probe PRIVATE brindle_linux_sound brindle_linux_system)
