# The demo's settings name its channels and are written only into a folder
# that has none: a second write, like settings somebody made, is refused
# and leaves the files as they were.
set(folder ${WORK}/demo-settings)
file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})
execute_process(COMMAND ${TOOL} ${folder} RESULT_VARIABLE first)
file(SHA256 ${folder}/ch_set.dat before)
execute_process(COMMAND ${TOOL} ${folder} RESULT_VARIABLE second ERROR_QUIET)
file(SHA256 ${folder}/ch_set.dat after)
if(NOT first EQUAL 0 OR second EQUAL 0 OR NOT before STREQUAL after)
  message(FATAL_ERROR "demo settings: first ${first}, second ${second}")
endif()
# The names as the program reads them: tavelin-cli settings of that folder.
file(COPY ${CLI} DESTINATION ${folder})
file(GLOB libraries ${BIN}/libkvr*.so)
file(COPY ${libraries} DESTINATION ${folder})
execute_process(COMMAND ${folder}/tavelin-cli settings OUTPUT_VARIABLE shown RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT shown MATCHES "ライン 1 カウンタ" OR NOT shown MATCHES "炉 1 熱電対")
  message(FATAL_ERROR "the demo's names are not in its settings (${status}):\n${shown}")
endif()
file(REMOVE_RECURSE ${folder})
