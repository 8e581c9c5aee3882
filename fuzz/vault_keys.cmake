# Whatever the vault's service answers about keys and organisations.
add_executable(vault_keys_fuzz vault_keys_fuzz.cpp)
target_link_libraries(vault_keys_fuzz PRIVATE brindle_vault_keys brindle_memory brindle_openssl)
target_compile_options(vault_keys_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(vault_keys_fuzz PRIVATE -fsanitize=fuzzer)
