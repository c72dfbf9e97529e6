# The udev component installs the rule and its helper where the rule says,
# and the helper tells our devices from others by their report descriptor.
set(root ${WORK}/udev-install)
file(REMOVE_RECURSE ${root})
execute_process(COMMAND ${CMAKE_COMMAND} -E env DESTDIR=${root}
                ${CMAKE_COMMAND} --install ${BUILD} --component udev
                RESULT_VARIABLE result OUTPUT_QUIET)
file(GLOB_RECURSE rules ${root}/*.rules)
list(LENGTH rules count)
if(NOT result EQUAL 0 OR NOT count EQUAL 1)
  message(FATAL_ERROR "udev component: ${result}, rules: ${rules}")
endif()
file(READ ${rules} rule)
if(NOT rule MATCHES "PROGRAM=\"([^ \"]+) %k\"")
  message(FATAL_ERROR "the rule runs no helper:\n${rule}")
endif()
set(helper ${root}${CMAKE_MATCH_1})
if(NOT EXISTS ${helper})
  message(FATAL_ERROR "the rule's helper ${CMAKE_MATCH_1} is not installed")
endif()

# The module's descriptor of docs/hid-protocol.md, and a keyboard's.
# (CMake strings hold no zero byte: printf writes them.)
execute_process(COMMAND printf
  "\\x06\\x54\\xff\\x09\\x01\\xa1\\x01\\x85\\x01\\x09\\x10\\x15\\x00\\x25\\x01\\x75\\x01\\x95\\x08\\x81\\x02\\xc0"
  OUTPUT_FILE ${root}/module.bin)
execute_process(COMMAND printf "\\x05\\x01\\x09\\x06\\xa1\\x01\\x05\\x07\\x19\\xe0\\x29\\xe7\\x81\\x02\\xc0"
  OUTPUT_FILE ${root}/keyboard.bin)
execute_process(COMMAND ${helper} ${root}/module.bin OUTPUT_VARIABLE ours RESULT_VARIABLE ours_result)
execute_process(COMMAND ${helper} ${root}/keyboard.bin OUTPUT_VARIABLE other)
execute_process(COMMAND ${helper} ${root}/missing.bin RESULT_VARIABLE missing)
string(STRIP "${ours}" ours)
string(STRIP "${other}" other)
if(NOT ours_result EQUAL 0 OR NOT rule MATCHES "RESULT==\"[^\"]*${ours}" OR rule MATCHES "${other}"
   OR missing EQUAL 0)
  message(FATAL_ERROR "helper: module ${ours} (${ours_result}), keyboard ${other}, missing ${missing}")
endif()
