# Debian packages of what cmake/install.cmake installs: `ninja package` or `cpack` in a build folder writes
#   c-stock-market       the two libraries and csm
#   c-stock-market-dev   headers, CMake package, pkg-config file
#   c-stock-market-desktop  csm-desktop, if it is built
# What the libraries need of the system is found out from the built files (dpkg-shlibdeps).
if(NOT TARGET csm OR NOT TARGET stock_host OR CSM_SANITIZE)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME c-stock-market)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VENDOR "c_stock_market")
set(CPACK_PACKAGE_CONTACT "maintainers <maintainers@c-stock-market.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET csm-desktop)
  list(APPEND CPACK_COMPONENTS_ALL desktop)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME c-stock-market)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "The library that clients load, its host services, and csm, which shows all of it on the command line.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME c-stock-market-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libboost-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "For development: headers, CMake package and pkg-config file.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME c-stock-market-desktop)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "fonts-wqy-microhei | fonts-noto-cjk")
set(CPACK_COMPONENT_DESKTOP_DEPENDS runtime)
set(CPACK_COMPONENT_DESKTOP_DESCRIPTION "csm-desktop: the market in windows.")
include(CPack)
