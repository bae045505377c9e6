# Debian packages: `cpack` in a build directory makes perlayer-dev (headers, libraries, CMake and
# pkg-config files) and perlayer-tools (perlayer-check-maps).

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME perlayer)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "persistence layer between business objects and their database")
set(CPACK_PACKAGE_VENDOR "perlayer maintainers")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES TRUE)
set(CPACK_COMPONENTS_ALL dev)
if(TARGET perlayer-check-maps)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

set(CPACK_DEB_COMPONENT_INSTALL TRUE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "perlayer maintainers <maintainers@perlayer.invalid>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME perlayer-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS libsqlite3-dev)
set(CPACK_DEBIAN_DEV_DESCRIPTION "Headers and static libraries of perlayer, which makes objects of the rows of
a database by SQL kept in class maps, and records who holds each of them;
with a driver for SQLite, and the files by which CMake and pkg-config find
them.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME perlayer-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION database)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "Of perlayer: perlayer-check-maps tells where a class map breaks the layout
that the layer relies on and, given a database, which tables and columns do
not exist.")
# Which libraries the program needs is read from it, where the machine can do that.
find_program(PERLAYER_SHLIBDEPS dpkg-shlibdeps)
if(PERLAYER_SHLIBDEPS)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
else()
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libc6, libstdc++6, libgcc-s1, libsqlite3-0")
endif()

include(CPack)
