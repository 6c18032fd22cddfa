# Finds the parts of OpenCV 4 that the library uses, with the legacy C headers. Debian's separate
# -dev packages carry no CMake configuration, so the parts are looked up one by one.
#
# Targets: OpenCVLegacy::core, OpenCVLegacy::imgproc, and where present OpenCVLegacy::imgcodecs,
# OpenCVLegacy::highgui and OpenCVLegacy::ximgproc.
include(FindPackageHandleStandardArgs)

find_path(OpenCVLegacy_INCLUDE_DIR opencv2/core/core_c.h PATH_SUFFIXES opencv4)
if(OpenCVLegacy_INCLUDE_DIR)
  file(STRINGS ${OpenCVLegacy_INCLUDE_DIR}/opencv2/core/version.hpp _version_lines
       REGEX "#define CV_VERSION_(MAJOR|MINOR|REVISION) ")
  string(REGEX MATCHALL "[0-9]+" _version_numbers "${_version_lines}")
  list(JOIN _version_numbers "." OpenCVLegacy_VERSION)
endif()

foreach(part core imgproc imgcodecs highgui ximgproc)
  find_library(OpenCVLegacy_${part}_LIBRARY opencv_${part})
  mark_as_advanced(OpenCVLegacy_${part}_LIBRARY)
  if(OpenCVLegacy_${part}_LIBRARY AND NOT TARGET OpenCVLegacy::${part})
    add_library(OpenCVLegacy::${part} UNKNOWN IMPORTED)
    set_target_properties(OpenCVLegacy::${part} PROPERTIES
      IMPORTED_LOCATION ${OpenCVLegacy_${part}_LIBRARY}
      INTERFACE_INCLUDE_DIRECTORIES ${OpenCVLegacy_INCLUDE_DIR})
  endif()
endforeach()
mark_as_advanced(OpenCVLegacy_INCLUDE_DIR)

find_package_handle_standard_args(OpenCVLegacy
  REQUIRED_VARS OpenCVLegacy_core_LIBRARY OpenCVLegacy_imgproc_LIBRARY OpenCVLegacy_INCLUDE_DIR
  VERSION_VAR OpenCVLegacy_VERSION)
