# Keys as the vault's service writes them.
add_executable(vault_base64_fuzz vault_base64_fuzz.cpp)
target_link_libraries(vault_base64_fuzz PRIVATE brindle_base)
target_compile_options(vault_base64_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(vault_base64_fuzz PRIVATE -fsanitize=fuzzer)
