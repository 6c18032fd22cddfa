# Installation: library, private module, headers, CMake package, pkg-config file, kelpage.
include(CMakePackageConfigHelpers)

set(KEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KelImageLib)

# The links without a version, which only a build needs, go with the headers.
install(TARGETS KelImageLib im im_process EXPORT KelImageLibTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KelImageLib)
install(TARGETS KelImageLib-highgui
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(DIRECTORY include/ im/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KelImageLib COMPONENT dev)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/KelImageLib COMPONENT runtime)
if(KEL_BUILD_TOOLS)
  install(TARGETS kelpage RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES ${CMAKE_BINARY_DIR}/tools/kelpage/kelpage.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${CMAKE_BINARY_DIR}/tools/kelpage/completion/kelpage
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
endif()

install(EXPORT KelImageLibTargets NAMESPACE KelImageLib::
  DESTINATION ${KEL_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(cmake/KelImageLibConfig.cmake.in
  ${CMAKE_BINARY_DIR}/KelImageLibConfig.cmake INSTALL_DESTINATION ${KEL_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KelImageLibConfigVersion.cmake
  COMPATIBILITY ExactVersion)
install(FILES ${CMAKE_BINARY_DIR}/KelImageLibConfig.cmake
              ${CMAKE_BINARY_DIR}/KelImageLibConfigVersion.cmake
              cmake/FindOpenCVLegacy.cmake
        DESTINATION ${KEL_CMAKE_DIR} COMPONENT dev)

# The pkg-config file finds its prefix from its own place, so that `cmake --install --prefix` may choose
# one after configuring.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(KEL_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH KEL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" KEL_PC_PREFIX "\${pcfiledir}/${KEL_PC_PREFIX}")
endif()
if(IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
  set(KEL_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
else()
  set(KEL_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(cmake/KelImageLib.pc.in ${CMAKE_BINARY_DIR}/KelImageLib.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/KelImageLib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT dev)
