# Sealing, and what the opener shares with it. Pure computation.
brindle_library(brindle_vault_crypto
  SOURCES vault_blob.cpp vault_crypto.cpp vault_meta.cpp vault_sealing.cpp
  LINKS brindle_platform)
brindle_test(vault_crypto_test
  SOURCES vault_crypto_test.cpp
  LINKS brindle_vault_opener brindle_memory)
