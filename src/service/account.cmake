# The account: who is signed in, the ways of signing in, and the terms agreed to.
set(BRINDLE_SERVICE_URL "" CACHE STRING "Base URL of the alert service; empty: none is set up")
set(BRINDLE_GOOGLE_CLIENT_ID "" CACHE STRING "OAuth client identifier registered with Google")
set(BRINDLE_BUILD_NUMBER "1" CACHE STRING "Number of this build, as the service counts them")

brindle_library(brindle_service_account
  SOURCES account.cpp account_deletion.cpp account_error.cpp account_replies_json.cpp
    apple_sign_in_flow.cpp email_sign_in.cpp form_query.cpp google_sign_in.cpp live_terms.cpp pkce.cpp
    service_settings.cpp session_json.cpp session_keeper.cpp terms_gate.cpp terms_version.cpp
  LINKS brindle_service_client brindle_owner)
set_source_files_properties(service_settings.cpp PROPERTIES COMPILE_DEFINITIONS
  "BRINDLE_SERVICE_URL=\"${BRINDLE_SERVICE_URL}\";BRINDLE_GOOGLE_CLIENT_ID=\"${BRINDLE_GOOGLE_CLIENT_ID}\";BRINDLE_BUILD_NUMBER=${BRINDLE_BUILD_NUMBER}")
brindle_test(service_account_test
  SOURCES account_formats_test.cpp account_test.cpp live_terms_test.cpp
  LINKS brindle_service_account brindle_scripted_service brindle_memory brindle_testing)
