# Installation: library, private module, headers, CMake package, pkg-config file, kelpage.
include(CMakePackageConfigHelpers)

set(KEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KelImageLib)

install(TARGETS KelImageLib EXPORT KelImageLibTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KelImageLib)
install(TARGETS KelImageLib-highgui LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KelImageLib)
if(KEL_BUILD_TOOLS)
  install(TARGETS kelpage RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT KelImageLibTargets NAMESPACE KelImageLib:: DESTINATION ${KEL_CMAKE_DIR})
configure_package_config_file(cmake/KelImageLibConfig.cmake.in
  ${CMAKE_BINARY_DIR}/KelImageLibConfig.cmake INSTALL_DESTINATION ${KEL_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KelImageLibConfigVersion.cmake
  COMPATIBILITY ExactVersion)
install(FILES ${CMAKE_BINARY_DIR}/KelImageLibConfig.cmake
              ${CMAKE_BINARY_DIR}/KelImageLibConfigVersion.cmake
              cmake/FindOpenCVLegacy.cmake
        DESTINATION ${KEL_CMAKE_DIR})

configure_file(cmake/KelImageLib.pc.in ${CMAKE_BINARY_DIR}/KelImageLib.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/KelImageLib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
