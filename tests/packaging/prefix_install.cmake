# An install under a prefix lays the programs out as a distribution does,
# and the programs find their device libraries in lib/tavelin there.
set(root ${WORK}/prefix-install)
file(REMOVE_RECURSE ${root})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${root}
                RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "install: ${result}")
endif()
foreach(file bin/tavelin-cli lib/tavelin/libkvr100.so lib/tavelin/libkvr_usb_io.so
        lib/tavelin/libkvr_usb_probe.so share/tavelin/demo/demo.sim
        share/applications/jp.example.tavelin.Tavelin.desktop
        share/metainfo/jp.example.tavelin.Tavelin.metainfo.xml
        share/icons/hicolor/scalable/apps/jp.example.tavelin.Tavelin.svg
        share/man/man1/tavelin-cli.1.gz share/man/ja/man1/tavelin.1.gz
        share/bash-completion/completions/tavelin-cli share/doc/tavelin/copyright)
  if(NOT EXISTS ${root}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
file(GLOB flat ${root}/*.so ${root}/tavelin*)
if(flat)
  message(FATAL_ERROR "installed flat into the prefix: ${flat}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E env KVR_SIMULATION=${SIMULATION} HOME=${root}
                ${root}/bin/tavelin-cli devices
                RESULT_VARIABLE result OUTPUT_VARIABLE listed ERROR_VARIABLE said)
if(NOT result EQUAL 0 OR NOT listed MATCHES "simulation +0 +USB-IO")
  message(FATAL_ERROR "the installed tavelin-cli did not find its libraries: ${result}\n${listed}${said}")
endif()
file(REMOVE_RECURSE ${root})
