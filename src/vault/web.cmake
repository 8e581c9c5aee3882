# The client of the service's vault: uploads, deletions, and the façade over them.
brindle_library(brindle_vault
  SOURCES upload_label.cpp vault_accounts.cpp vault_deletions.cpp vault_prepare.cpp
    vault_records_json.cpp vault_uploads.cpp web_vault.cpp
  LINKS brindle_vault_keys brindle_core)
brindle_test(web_vault_test
  SOURCES web_vault_test.cpp
  LINKS brindle_vault brindle_vault_opener brindle_scripted_service brindle_memory brindle_testing)
