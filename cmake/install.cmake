# What `cmake --install` puts into a prefix: the module, the host services, csm, the public headers, a CMake package
# and a pkg-config file. Below include/c_stock_market the headers lie as in this tree: others include them as
# <c_stock_market/host/host.h>, or as it is done here ("host/host.h") if they have no such file of their own.
if(NOT TARGET csm OR NOT TARGET stock_host)
  return()
endif()
include(CMakePackageConfigHelpers)

set(CSM_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/c_stock_market)
set(CSM_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/c_stock_market)

include(cmake/installed_headers.cmake)
include(cmake/public_headers.cmake)

csm_public_headers(headers)
set(installed_headers ${PROJECT_BINARY_DIR}/installed_headers)
foreach(entry IN LISTS headers)
  string(REPLACE "|" ";" entry ${entry})
  list(GET entry 0 root)
  list(GET entry 1 path)
  csm_installed_header(${root} ${path} ${installed_headers})
  get_filename_component(folder ${path} DIRECTORY)
  install(FILES ${installed_headers}/${path} DESTINATION ${CSM_INCLUDEDIR}/${folder} COMPONENT development)
endforeach()

# Beside each other in one prefix, wherever that prefix is.
file(RELATIVE_PATH bin_to_lib /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
set_target_properties(csm PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
set_target_properties(c_stock_market stock_host PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS c_stock_market stock_host stock_market_headers EXPORT c_stock_market
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
install(TARGETS csm RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
if(TARGET csm-desktop)
  set_target_properties(csm-desktop PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  install(TARGETS csm-desktop RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT desktop)
endif()
install(EXPORT c_stock_market NAMESPACE c_stock_market:: FILE c_stock_market-targets.cmake
        DESTINATION ${CSM_CMAKEDIR} COMPONENT development)

configure_package_config_file(cmake/c_stock_market-config.cmake.in
  ${PROJECT_BINARY_DIR}/c_stock_market-config.cmake INSTALL_DESTINATION ${CSM_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/c_stock_market-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/c_stock_market-config.cmake
              ${PROJECT_BINARY_DIR}/c_stock_market-config-version.cmake DESTINATION ${CSM_CMAKEDIR}
        COMPONENT development)

# The prefix of the pkg-config file follows from where the file lies.
file(RELATIVE_PATH CSM_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/c_stock_market.pc.in ${PROJECT_BINARY_DIR}/c_stock_market.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/c_stock_market.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
