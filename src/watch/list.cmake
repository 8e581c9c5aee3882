# What the owner has watched: the list, its document, and the decoys.
brindle_library(brindle_watch_list
  SOURCES watch_target.cpp security_scoped_bookmarks.cpp
  LINKS brindle_platform
  PRIVATE_LINKS PkgConfig::ICU)
