# Whatever comes back from the vault's service, and blobs that anybody may hand to the opener.
foreach(target base64 keys opener)
  include(${CMAKE_CURRENT_LIST_DIR}/vault_${target}.cmake OPTIONAL)
endforeach()
