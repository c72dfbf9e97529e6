# settings --view changes the display mode in config.dat and keeps the rest.
# It runs on a copy of the program, so that no real settings are touched.
get_filename_component(bin ${CLI} DIRECTORY)
set(folder ${WORK}/settings-view)
file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})
file(COPY ${CLI} ${bin}/libkvr100.so ${bin}/libkvr_usb_io.so ${bin}/libkvr_usb_probe.so
     DESTINATION ${folder})
set(cli ${folder}/tavelin-cli)
execute_process(COMMAND ${cli} settings --view 4 RESULT_VARIABLE result)
execute_process(COMMAND ${cli} settings OUTPUT_VARIABLE shown)
execute_process(COMMAND ${cli} settings --view 7 RESULT_VARIABLE refused ERROR_QUIET)
if(NOT result EQUAL 0 OR refused EQUAL 0)
  message(FATAL_ERROR "settings --view: ${result}, ${refused}")
endif()
if(NOT shown MATCHES "config.dat: 読みました" OR NOT shown MATCHES "表示モード         4")
  message(FATAL_ERROR "the display mode did not reach config.dat:\n${shown}")
endif()
