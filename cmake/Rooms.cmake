# Reads src/rooms.txt: TORVELANE_ROOMS becomes the list of rooms, lowest first, and TORVELANE_USES_<room> the rooms that
# each may use. Folders within a room are no libraries and left out.
function(torvelane_read_rooms)
  set(table "${PROJECT_SOURCE_DIR}/src/rooms.txt")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${table}")
  file(STRINGS "${table}" rows REGEX "^[a-z]+ *\\|")
  set(rooms)
  foreach(row IN LISTS rows)
    string(REGEX MATCH "^([a-z]+) *\\|([^|]*)\\|" ignored "${row}")
    set(room "${CMAKE_MATCH_1}")
    string(REGEX MATCHALL "[a-z]+" uses "${CMAKE_MATCH_2}")
    list(APPEND rooms ${room})
    set(TORVELANE_USES_${room} "${uses}" PARENT_SCOPE)
  endforeach()
  set(TORVELANE_ROOMS "${rooms}" PARENT_SCOPE)
endfunction()
torvelane_read_rooms()

# torvelane_room(<name> SOURCES ... [USES ...])
#
# One room of the house: the static library torvelane_<name> made from the files of src/<name>, with the rooms that the
# table lets it use. USES names its other needs: Qt's modules.
function(torvelane_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;USES" ${ARGN})
  if(NOT name IN_LIST TORVELANE_ROOMS)
    message(FATAL_ERROR "'${name}' is no room of src/rooms.txt")
  endif()
  add_library(torvelane_${name} STATIC ${ROOM_SOURCES})
  target_include_directories(torvelane_${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
  list(TRANSFORM TORVELANE_USES_${name} PREPEND torvelane_ OUTPUT_VARIABLE rooms)
  target_link_libraries(torvelane_${name} PUBLIC torvelane_options ${rooms} ${ROOM_USES})
endfunction()
