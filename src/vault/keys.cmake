# Whom items are sealed for: the key set and its copy here, and sharing with organisations.
brindle_library(brindle_vault_keys
  SOURCES org_sharing.cpp vault_key_set.cpp vault_keys.cpp vault_message.cpp
    vault_replies_json.cpp vault_setup.cpp
  LINKS brindle_vault_crypto brindle_service_account)
brindle_test(vault_keys_test
  SOURCES vault_keys_test.cpp
  LINKS brindle_vault_keys brindle_scripted_service brindle_memory brindle_testing)
