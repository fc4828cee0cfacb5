# torvelane_room(<name> SOURCES ... USES ...)
#
# One room of the house: the static library torvelane_<name> made from the files of src/<name>. USES names what it may
# include from: lower rooms and Qt modules. tools/check_includes.py holds the same order against the sources.
function(torvelane_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;USES" ${ARGN})
  add_library(torvelane_${name} STATIC ${ROOM_SOURCES})
  target_include_directories(torvelane_${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(torvelane_${name} PUBLIC torvelane_options ${ROOM_USES})
endfunction()
