# The list of watched items as it may lie on disk, and batches of file events.
foreach(target list events)
  include(${CMAKE_CURRENT_LIST_DIR}/watched_${target}.cmake OPTIONAL)
endforeach()
