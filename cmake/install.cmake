# `make install` (cmake --install): the public headers, the versioned shared
# library (with libnode beside it when libnode is not the system's), a
# pkg-config file, a CMake package exporting Morvanta::morvanta, the sandbox
# SDK and the demo. Only the public target is exported: the internal archive
# is linked privately into the shared library and is not part of the package.
include(CMakePackageConfigHelpers)

set(MORVANTA_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Morvanta")
set(MORVANTA_SANDBOX_DIR "${CMAKE_INSTALL_DATADIR}/morvanta/sandbox")

# ---- libnode: the system's, or a private copy installed with the library ----
# A libnode the loader finds by itself (a system folder) is left where it is.
# Any other copy (the one scripts/setup.sh unpacks into .deps) is installed in
# lib/morvanta together with whatever else it needs from outside the system's
# folders, and the installed libmorvanta.so looks there first (RUNPATH
# $ORIGIN/morvanta), so the installed tree works wherever it is copied.
# MORVANTA_BUNDLE_LIBNODE=OFF instead names libnode's folder as it is on this
# machine.
if(NODE_LIBRARY_REAL_DIR MATCHES "^/(usr/)?lib")
  set(MORVANTA_SYSTEM_LIBNODE ON)
else()
  set(MORVANTA_SYSTEM_LIBNODE OFF)
endif()
include(CMakeDependentOption)
cmake_dependent_option(MORVANTA_BUNDLE_LIBNODE "Install libnode with the library, found through RUNPATH $ORIGIN/morvanta"
  ON "NOT MORVANTA_SYSTEM_LIBNODE" OFF)
set(MORVANTA_PRIVATE_LIBDIR "${CMAKE_INSTALL_LIBDIR}/morvanta")

if(MORVANTA_BUNDLE_LIBNODE)
  if(CMAKE_VERSION VERSION_LESS 3.21)
    message(FATAL_ERROR "Installing libnode with the library needs CMake 3.21 or newer "
      "(or -DMORVANTA_BUNDLE_LIBNODE=OFF)")
  endif()
  set_property(TARGET morvanta PROPERTY INSTALL_RPATH "$ORIGIN/morvanta")
  install(TARGETS morvanta EXPORT MorvantaTargets RUNTIME_DEPENDENCY_SET morvanta_private_libs
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development)
  # Only what lies outside the system's library folders is copied: libnode
  # (and anything found beside it); the rest comes from the system.
  install(RUNTIME_DEPENDENCY_SET morvanta_private_libs
    DIRECTORIES "${NODE_LIBRARY_DIR}"
    POST_EXCLUDE_REGEXES "^/(usr/)?lib(32|64|x32)?/"
    LIBRARY DESTINATION ${MORVANTA_PRIVATE_LIBDIR})
  # libnode's licence travels with it.
  get_filename_component(_node_prefix "${NODE_LIBRARY_REAL_DIR}/../.." REALPATH)
  file(GLOB _node_copyright "${_node_prefix}/share/doc/libnode[0-9]*/copyright")
  if(_node_copyright)
    list(GET _node_copyright 0 _node_copyright)
    install(FILES "${_node_copyright}" DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME libnode.copyright)
  endif()
else()
  if(NOT MORVANTA_SYSTEM_LIBNODE)
    set_property(TARGET morvanta PROPERTY INSTALL_RPATH "${NODE_LIBRARY_REAL_DIR}")
  endif()
  install(TARGETS morvanta EXPORT MorvantaTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development)
endif()
# Every public header: morvanta.h, the C++ layer over it and the header-only
# helpers (GLib main-loop integration).
file(GLOB MORVANTA_PUBLIC_HEADERS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/include/*.h ${CMAKE_SOURCE_DIR}/include/*.hpp)
install(FILES ${MORVANTA_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

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
