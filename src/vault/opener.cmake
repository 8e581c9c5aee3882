# For those who hold a private key: programs and tests. The guard does not link it.
brindle_library(brindle_vault_opener
  SOURCES vault_opener.cpp vault_opener_json.cpp
  LINKS brindle_vault_crypto)
brindle_test(vault_opener_test
  SOURCES vault_opener_test.cpp
  LINKS brindle_vault_opener brindle_openssl)
