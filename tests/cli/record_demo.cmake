# Records half a second of the demo bench and checks the csv it leaves. It
# runs on a copy of the program, whose folder holds no settings.
get_filename_component(bin ${CLI} DIRECTORY)
set(program ${OUT}-program)
file(REMOVE_RECURSE ${OUT} ${program})
file(MAKE_DIRECTORY ${OUT} ${program})
file(COPY ${CLI} ${bin}/libkvr100.so ${bin}/libkvr_usb_io.so ${bin}/libkvr_usb_probe.so
     DESTINATION ${program})
execute_process(COMMAND ${program}/tavelin-cli record --mode 3 --seconds 0.5 --sampling 50 --format csv --folder ${OUT}
                RESULT_VARIABLE result ERROR_VARIABLE progress)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "record failed (${result}): ${progress}")
endif()
file(GLOB logs ${OUT}/SD*-001.csv)
list(LENGTH logs count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "expected one log, found: ${logs}")
endif()
file(READ ${logs} bytes HEX)
# CP932 "時間[ms]" and rows ending in CR LF
string(FIND "${bytes}" "8e9e8ad45b6d735d" title)
string(FIND "${bytes}" "0d0a" lineEnd)
if(title EQUAL -1 OR lineEnd EQUAL -1)
  message(FATAL_ERROR "the log is not CP932 csv: ${logs}")
endif()
if(NOT progress MATCHES "記録 [1-9][0-9]* 行   ファイル 1")
  message(FATAL_ERROR "no progress line: ${progress}")
endif()
