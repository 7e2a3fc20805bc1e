# Installs the libraries so that others find them: with pkg-config as tarn-appdb, or with CMake as
# tarn::xmlp, tarn::appmngr and so on.

include(CMakePackageConfigHelpers)

# In link order: each before those it needs.
set(tarn_libraries dbimage apppri loader appmngr appdist xmlp)

set(tarn_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tarn-appdb)
set(tarn_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

list(TRANSFORM tarn_libraries PREPEND tarn- OUTPUT_VARIABLE library_targets)
install(TARGETS ${library_targets} EXPORT tarn-appdb
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarn-appdb COMPONENT dev)
install(EXPORT tarn-appdb NAMESPACE tarn:: FILE tarn-appdb-targets.cmake
  DESTINATION ${tarn_cmake_dir} COMPONENT dev)
configure_package_config_file(cmake/tarn-appdb-config.cmake.in tarn-appdb-config.cmake
  INSTALL_DESTINATION ${tarn_cmake_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(tarn-appdb-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/tarn-appdb-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/tarn-appdb-config-version.cmake
  DESTINATION ${tarn_cmake_dir} COMPONENT dev)

# Relative to the file, so that an installed tree can be moved.
file(RELATIVE_PATH tarn_prefix_from_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" tarn_prefix_from_pc ${tarn_prefix_from_pc})
# A linker wants each before those that it needs; appmngr and appdist need each other.
list(TRANSFORM tarn_libraries PREPEND -ltarn- OUTPUT_VARIABLE link_flags)
list(INSERT link_flags 5 -ltarn-appmngr)
list(JOIN link_flags " " tarn_link_flags)
configure_file(cmake/tarn-appdb.pc.in tarn-appdb.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tarn-appdb.pc
  DESTINATION ${tarn_pkgconfig_dir} COMPONENT dev)

install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool
  FILES_MATCHING PATTERN *.md)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool)
install(FILES CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool OPTIONAL)
