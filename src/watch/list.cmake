# What the owner has watched: the list, its document, and the decoys.
brindle_library(brindle_watch_list
  SOURCES security_scoped_bookmarks.cpp tripwire_decoy.cpp watch_list.cpp watch_list_adding.cpp
    watch_list_file.cpp watch_list_json.cpp watch_list_probes.cpp watch_list_saving.cpp watch_list_tripwires.cpp watch_target.cpp
  LINKS brindle_platform
  PRIVATE_LINKS PkgConfig::ICU)
brindle_test(watch_list_test
  SOURCES watch_list_test.cpp
  LINKS brindle_watch_list brindle_memory brindle_testing)
