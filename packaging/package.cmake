# The Debian package that scripts/package makes with CPack.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavelin)
set(CPACK_PACKAGE_VENDOR "the Tavelin Project")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "the Tavelin Project <tavelin@example.jp>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "watch and record USB digital and analog inputs")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
  "Tavelin shows the live state of up to sixteen USB digital input modules\n"
  "and eight USB analog probes at a test bench, as bit LEDs or converted\n"
  "values with their maximum, minimum and average, and records them to csv\n"
  "and .xls log files. A journal keeps every logged row through a crash or a\n"
  "power cut. The windows speak Japanese, and a simulated bench runs without\n"
  "hardware.")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
# The rule and its helper go to absolute system folders: the package takes
# the install as it is, prefix included.
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES TRUE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://tavelin.example.jp/)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, and the program says so when they are missing.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libhidapi-hidraw0, libmosquitto1, fonts-ipafont-gothic")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${CMAKE_SOURCE_DIR}/packaging/postinst ${CMAKE_SOURCE_DIR}/packaging/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
include(CPack)
