# `make install` (cmake --install): the public header, the versioned shared
# library, a pkg-config file, a CMake package exporting Morvanta::morvanta,
# the sandbox SDK and the demo. Only the public target is exported: the
# internal archive is linked privately into the shared library and is not
# part of the package.
include(CMakePackageConfigHelpers)

set(MORVANTA_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Morvanta")
set(MORVANTA_SANDBOX_DIR "${CMAKE_INSTALL_DATADIR}/morvanta/sandbox")

install(TARGETS morvanta EXPORT MorvantaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development)
install(FILES ${CMAKE_SOURCE_DIR}/include/morvanta.h ${CMAKE_SOURCE_DIR}/include/morvanta_glib.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT MorvantaTargets NAMESPACE Morvanta:: DESTINATION ${MORVANTA_CMAKE_DIR})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/MorvantaConfig.cmake.in
  ${CMAKE_BINARY_DIR}/MorvantaConfig.cmake INSTALL_DESTINATION ${MORVANTA_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/MorvantaConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/MorvantaConfig.cmake ${CMAKE_BINARY_DIR}/MorvantaConfigVersion.cmake
  DESTINATION ${MORVANTA_CMAKE_DIR})

# The .pc file names its prefix relative to its own folder, so it stays right
# wherever the tree is installed (--prefix, DESTDIR, a moved tree).
file(RELATIVE_PATH MORVANTA_PC_TO_PREFIX "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
string(REGEX REPLACE "/$" "" MORVANTA_PC_TO_PREFIX "${MORVANTA_PC_TO_PREFIX}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/morvanta.pc.in ${CMAKE_BINARY_DIR}/morvanta.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/morvanta.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES ${CMAKE_BINARY_DIR}/bin/index.js DESTINATION ${MORVANTA_SANDBOX_DIR})

# The demo finds the library through a relative RPATH and the sandbox SDK in
# ../share/morvanta/sandbox relative to itself (see examples/demo.c).
set_property(TARGET morvanta_demo PROPERTY INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS morvanta_demo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
