# For those who hold a private key: programs and tests. The guard does not link it.
brindle_library(brindle_vault_opener
  SOURCES vault_opener.cpp vault_opener_json.cpp
  LINKS brindle_vault_crypto)
