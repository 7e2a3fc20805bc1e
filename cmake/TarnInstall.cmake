# Installs the libraries so that others find them. The folders' libraries become two, tarn-appdb and
# tarn-dbimage (which needs libcrypto): as archives, and with BUILD_SHARED_LIBS as shared objects too.
# Others find them with pkg-config, or with CMake as tarn::xmlp, tarn::appmngr and so on.

include(CMakePackageConfigHelpers)

set(tarn_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tarn-appdb)
set(tarn_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# tarn_exports(FILE folder...)
#
# Writes a version script that exports what the public headers of the folders declare. A declaration
# begins in the first column.
function(tarn_exports file)
  set(names)
  foreach(folder IN LISTS ARGN)
    get_target_property(headers tarn-${folder} HEADER_SET)
    foreach(header IN LISTS headers)
      set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
      file(STRINGS ${header} lines REGEX "^[a-zA-Z]")
      list(FILTER lines EXCLUDE REGEX "^(typedef|struct|enum)")
      foreach(line IN LISTS lines)
        if(line MATCHES "^[A-Za-z][A-Za-z0-9_ ]*[ *]([a-z_][A-Za-z0-9_]*)([[(;]|$)")
          string(APPEND names "${CMAKE_MATCH_1};\n")
        endif()
      endforeach()
    endforeach()
  endforeach()
  file(CONFIGURE OUTPUT ${file} CONTENT "{ global:\n@names@local: *; };\n" @ONLY)
endfunction()

# tarn_install_library(NAME DESCRIPTION text FOLDERS folder... [LINKS target...]
#   [PRIVATE_LINKS target...] [REQUIRES package...] [PRIVATE_REQUIRES package...])
#
# LINKS and REQUIRES are what a user of the library needs, the PRIVATE ones what it needs itself, as
# targets and as pkg-config's packages.
function(tarn_install_library name)
  cmake_parse_arguments(ARG "" "DESCRIPTION"
    "FOLDERS;LINKS;PRIVATE_LINKS;REQUIRES;PRIVATE_REQUIRES" ${ARGN})
  list(TRANSFORM ARG_FOLDERS REPLACE "(.+)" "$<TARGET_OBJECTS:tarn-\\1>" OUTPUT_VARIABLE objects)
  set(kinds STATIC)
  if(BUILD_SHARED_LIBS)
    list(APPEND kinds SHARED)
  endif()
  foreach(kind IN LISTS kinds)
    set(target installed-${name}-${kind})
    add_library(${target} ${kind} ${objects})
    list(TRANSFORM ARG_LINKS REPLACE "(.+)" "installed-\\1-${kind}" OUTPUT_VARIABLE links)
    set_target_properties(${target} PROPERTIES
      EXPORT_NAME ${name}
      OUTPUT_NAME ${name}
      LINKER_LANGUAGE C # nothing of the C++ library is needed
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR})
    target_include_directories(${target} INTERFACE
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tarn-appdb>)
    target_link_libraries(${target} PUBLIC ${links} PRIVATE ${ARG_PRIVATE_LINKS})
  endforeach()
  if(CMAKE_INTERPROCEDURAL_OPTIMIZATION AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Others link the machine code: the rest suits one compiler only, and tells where it was built.
    add_custom_command(TARGET installed-${name}-STATIC POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} -D -R ".gnu.lto_*" $<TARGET_FILE:installed-${name}-STATIC>)
  endif()
  if(BUILD_SHARED_LIBS)
    set(exports ${CMAKE_CURRENT_BINARY_DIR}/${name}.exports)
    tarn_exports(${exports} ${ARG_FOLDERS})
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:tarn-settings>)
    target_link_options(${target} PRIVATE LINKER:--version-script=${exports}
      LINKER:-z,defs LINKER:-Bsymbolic-functions LINKER:--as-needed)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
    install(TARGETS installed-${name}-STATIC
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
  endif()
  install(TARGETS ${target} EXPORT ${name}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${name} NAMELINK_COMPONENT dev)
  install(EXPORT ${name} NAMESPACE tarn:: FILE ${name}-targets.cmake
    DESTINATION ${tarn_cmake_dir} COMPONENT dev)
  foreach(folder IN LISTS ARG_FOLDERS)
    install(TARGETS tarn-${folder} FILE_SET HEADERS
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarn-appdb COMPONENT dev
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} EXCLUDE_FROM_ALL)
  endforeach()

  list(JOIN ARG_REQUIRES ", " requires)
  list(JOIN ARG_PRIVATE_REQUIRES ", " private_requires)
  configure_file(cmake/tarn.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${tarn_pkgconfig_dir} COMPONENT dev)
endfunction()
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/include/tarn_version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarn-appdb COMPONENT dev)

# Relative to the .pc file, so that an installed tree can be moved.
file(RELATIVE_PATH tarn_include_from_pc
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR}/tarn-appdb)

tarn_install_library(tarn-appdb
  DESCRIPTION ${PROJECT_DESCRIPTION}
  FOLDERS xmlp appmngr appdist loader apppri
  PRIVATE_LINKS LibLZMA::LibLZMA
  PRIVATE_REQUIRES liblzma)
if(tarn_with_dbimage)
  tarn_install_library(tarn-dbimage
    DESCRIPTION "Update containers of the application database"
    FOLDERS dbimage
    LINKS tarn-appdb
    PRIVATE_LINKS OpenSSL::Crypto
    REQUIRES tarn-appdb
    PRIVATE_REQUIRES libcrypto)
endif()

configure_package_config_file(cmake/tarn-appdb-config.cmake.in tarn-appdb-config.cmake
  INSTALL_DESTINATION ${tarn_cmake_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(tarn-appdb-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/tarn-appdb-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/tarn-appdb-config-version.cmake
  DESTINATION ${tarn_cmake_dir} COMPONENT dev)

install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool
  FILES_MATCHING PATTERN *.md)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool)
install(FILES schema/appdb.rng schema/sortdb.rng schema/show.schema.json wireshark/tarn.lua
  DESTINATION ${CMAKE_INSTALL_DATADIR}/tarn-appdb COMPONENT tool)
install(FILES CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tool OPTIONAL)
