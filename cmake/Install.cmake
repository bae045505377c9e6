# What `cmake --install` puts where: the component "dev" for those who build programs with the
# libraries, "tools" for those who look after class maps. The tree may be moved afterwards.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(cmakeDir "${CMAKE_INSTALL_LIBDIR}/cmake/perlayer")
set(pkgConfigDir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(docDir "${CMAKE_INSTALL_DATAROOTDIR}/doc")

# One export set for each library: who uses the core alone needs no SQLite.
set_target_properties(perlayer_core PROPERTIES EXPORT_NAME core OUTPUT_NAME perlayer)
set_target_properties(perlayer_sqlite PROPERTIES EXPORT_NAME sqlite OUTPUT_NAME perlayer-sqlite)
foreach(library IN ITEMS core sqlite)
  install(TARGETS perlayer_${library} EXPORT perlayer-${library}
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
  install(EXPORT perlayer-${library} NAMESPACE perlayer:: DESTINATION "${cmakeDir}" COMPONENT dev)
endforeach()

install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/perlayer"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev FILES_MATCHING PATTERN "*.h")

# find_package(perlayer)
configure_package_config_file(cmake/package/perlayerConfig.cmake.in perlayerConfig.cmake
  INSTALL_DESTINATION "${cmakeDir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(perlayerConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/perlayerConfig.cmake" "${PROJECT_BINARY_DIR}/perlayerConfigVersion.cmake"
  DESTINATION "${cmakeDir}" COMPONENT dev)

# pkg-config; both files find their tree from where they lie.
file(RELATIVE_PATH includeFromPkgConfig
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
foreach(file IN ITEMS perlayer perlayer-sqlite)
  configure_file(cmake/package/${file}.pc.in ${file}.pc @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${file}.pc" DESTINATION "${pkgConfigDir}" COMPONENT dev)
endforeach()

install(FILES README.md CHANGELOG.md cmake/package/copyright
  DESTINATION "${docDir}/perlayer-dev" COMPONENT dev)
install(DIRECTORY docs DESTINATION "${docDir}/perlayer-dev" COMPONENT dev FILES_MATCHING PATTERN "*.md")

if(TARGET perlayer-check-maps)
  install(TARGETS perlayer-check-maps RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
  install(FILES cmake/package/copyright DESTINATION "${docDir}/perlayer-tools" COMPONENT tools)
endif()
