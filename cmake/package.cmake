# `make package` (cpack): the installed tree as a .tar.gz (relocatable: the
# library finds a bundled libnode relative to itself) and as a .deb for
# /usr. Both land in <build>/packages.
set(CPACK_PACKAGE_NAME morvanta)
set(CPACK_PACKAGE_VENDOR morvanta)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "C interface to a video-meeting service, running its JavaScript SDK in embedded Node.js")
set(CPACK_PACKAGE_CONTACT "morvanta maintainers <morvanta@localhost>" CACHE STRING "Maintainer named in the .deb")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_GENERATOR TGZ DEB)
set(CPACK_STRIP_FILES ON)
# The tarball unpacks into one folder named after the package.
set(CPACK_PACKAGE_FILE_NAME "morvanta-${PROJECT_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)

# The .deb: morvanta_<version>_<arch>.deb, installed under /usr.
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "libmorvanta.so with its headers, pkg-config and CMake files, the sandbox SDK and the morvanta-demo host.")
# dpkg-shlibdeps names the Debian package of every system library the
# packaged files need (those of a bundled libnode included).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(MORVANTA_BUNDLE_LIBNODE)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${NODE_LIBRARY_DIR}")
  # libnode reads some of its JavaScript builtins (acorn, cjs-module-lexer,
  # undici) from fixed paths under /usr/share/nodejs; Debian's packages put
  # them there, with the versions Debian's own libnode asks for.
  set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "node-acorn (>= 6.2.1~), node-cjs-module-lexer (>= 1.2.2~), node-undici (>= 5.0.0~)")
  string(APPEND CPACK_DEBIAN_PACKAGE_DESCRIPTION " It carries its own libnode, in /usr/${MORVANTA_PRIVATE_LIBDIR}.")
endif()

include(CPack)
