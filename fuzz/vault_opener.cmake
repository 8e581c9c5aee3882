# Blobs that anybody may hand to the opener, and the metadata that a sealer put into one.
add_executable(vault_opener_fuzz vault_opener_fuzz.cpp)
target_link_libraries(vault_opener_fuzz PRIVATE brindle_vault_opener brindle_openssl)
target_compile_options(vault_opener_fuzz PRIVATE -fsanitize=fuzzer)
target_link_options(vault_opener_fuzz PRIVATE -fsanitize=fuzzer)
