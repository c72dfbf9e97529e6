# One static library per folder of the program: tavelin_<folder>.
#
#   tavelin_layer(<folder> SOURCES <files...> LINKS <targets...>)
#
# A folder's headers are reached as "<folder>/name.h" through an include
# root that holds only that folder, and that root is handed on only to the
# targets that link the folder. So a file can include what its own folder
# and the layers below it offer, and an include that climbs a layer does
# not build.
function(tavelin_layer folder)
  cmake_parse_arguments(LAYER "" "" "SOURCES;LINKS" ${ARGN})
  set(target tavelin_${folder})
  add_library(${target} STATIC ${LAYER_SOURCES})
  set(root ${CMAKE_BINARY_DIR}/layers/${folder})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${folder} ${root}/${folder} SYMBOLIC)
  target_include_directories(${target} PUBLIC ${root})
  target_link_libraries(${target} PUBLIC ${LAYER_LINKS})
endfunction()
