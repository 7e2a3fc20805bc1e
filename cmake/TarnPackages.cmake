# The Debian packages of cpack -G DEB: the loader for the device, the tool for database authors, the
# libraries for firmware builds.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR "The ${PROJECT_NAME} developers")
set(CPACK_PACKAGE_CONTACT "The ${PROJECT_NAME} developers <${PROJECT_NAME}@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_SET_DESTDIR ON) # so that absolute folders end up in the package
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL loader dev)
if(TARN_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_LOADER_PACKAGE_NAME tarn-db-loader)
set(CPACK_DEBIAN_LOADER_PACKAGE_SECTION net)
set(CPACK_COMPONENT_LOADER_DESCRIPTION
  "Loads the application database of an image into the kernel's traffic classifier.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME tarn-db-tool)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "Makes, checks and inspects database images.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtarn-appdb-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "liblzma-dev, libssl-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEV_DESCRIPTION "Static libraries and headers of the database loader.")

include(CPack)
