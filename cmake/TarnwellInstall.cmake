# What `cmake --install` lays down: the library with its public headers, a CMake package
# (`find_package(Tarnwell)` gives `tarnwell::tarnwell`) and a pkg-config file. All of it finds itself
# from where it lies, so an installed tree may be moved.
include(CMakePackageConfigHelpers)

set(tarnwell_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Tarnwell)

install(
  TARGETS tarnwell
  EXPORT TarnwellTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(
  EXPORT TarnwellTargets
  NAMESPACE tarnwell::
  DESTINATION ${tarnwell_package_dir})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/TarnwellConfig.cmake.in ${PROJECT_BINARY_DIR}/TarnwellConfig.cmake
  INSTALL_DESTINATION ${tarnwell_package_dir}
  NO_SET_AND_CHECK_MACRO)
# Before 1.0 a minor release may change the interface.
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/TarnwellConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TarnwellConfig.cmake
              ${PROJECT_BINARY_DIR}/TarnwellConfigVersion.cmake
        DESTINATION ${tarnwell_package_dir})

# A shared library names its dependencies itself. An archive does not, so whoever links it needs
# them on the link line. They stand under "Requires", not "Requires.private": the latter would take
# `pkg-config --static`, which also asks for the static dependencies of each dependency.
if(BUILD_SHARED_LIBS)
  set(tarnwell_pc_requires "")
  set(tarnwell_pc_libs "")
else()
  set(tarnwell_pc_requires "libxml-2.0 >= 2.9, libcurl >= 7.87, openssl >= 3, zlib >= 1.2.9")
  string(APPEND tarnwell_pc_requires ", icu-i18n >= 67, icu-uc >= 67")
  set(tarnwell_pc_libs "-pthread")
endif()
file(RELATIVE_PATH tarnwell_pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
cmake_path(NORMAL_PATH tarnwell_pc_prefix)
string(REGEX REPLACE "/$" "" tarnwell_pc_prefix "${tarnwell_pc_prefix}")
file(RELATIVE_PATH tarnwell_pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH tarnwell_pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(${PROJECT_SOURCE_DIR}/cmake/tarnwell.pc.in ${PROJECT_BINARY_DIR}/tarnwell.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tarnwell.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
