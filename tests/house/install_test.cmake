# Brings the build into an empty prefix, and builds and runs programs outside of the tree against it: each with the
# CMake package and with pkg-config. FROM says how: "install" installs and then moves the prefix; "packages" unpacks
# the Debian packages. Fails with the output of the command that failed.
function(must)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nended with ${result}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/host)
if(FROM STREQUAL "packages")
  must(${CPACK} --config ${BUILD}/CPackConfig.cmake -B ${WORK}/packages)
  file(GLOB packages ${WORK}/packages/*.deb)
  list(LENGTH packages count)
  if(NOT count EQUAL 3)
    message(FATAL_ERROR "not three packages but: ${packages}")
  endif()
  foreach(package ${packages})
    must(dpkg-deb --extract ${package} ${WORK}/unpacked)
    must(dpkg-deb --field ${package} Depends)
    if(output STREQUAL "")
      message(FATAL_ERROR "${package} depends on nothing")
    endif()
  endforeach()
  set(prefix ${WORK}/unpacked/usr)
else()
  must(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
  file(RENAME ${WORK}/first ${WORK}/prefix)
  set(prefix ${WORK}/prefix)
endif()

foreach(file ${LIBDIR}/libc_stock_market.so ${LIBDIR}/libstock_host.so bin/csm bin/csm-desktop
             ${INCLUDEDIR}/c_stock_market/c_stock_market.h
             ${INCLUDEDIR}/c_stock_market/host/host.h ${INCLUDEDIR}/c_stock_market/host_services/stock_host.h
             ${LIBDIR}/cmake/c_stock_market/c_stock_market-config.cmake ${LIBDIR}/pkgconfig/c_stock_market.pc)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "${file} is not installed")
  endif()
endforeach()

# Nothing of the build or of the sources may be needed, or named, by what was installed.
file(GLOB_RECURSE texts ${prefix}/*.cmake ${prefix}/*.pc)
foreach(text ${texts})
  file(READ ${text} content)
  string(FIND "${content}" ${BUILD} place)
  if(NOT place EQUAL -1)
    message(FATAL_ERROR "${text} names the build directory")
  endif()
endforeach()
must(${prefix}/bin/csm --help)
must(${prefix}/bin/csm-desktop --help)

must(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/${LIBDIR}/pkgconfig pkg-config --cflags --libs c_stock_market)
separate_arguments(flags UNIX_COMMAND "${output}")

# The second client has folders and headers of the same names as ours.
foreach(client consumer namesake)
  must(${CMAKE_COMMAND} -S ${SOURCE}/${client} -B ${WORK}/${client} -G Ninja -DCMAKE_CXX_COMPILER=${CXX}
       -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Debug)
  must(${CMAKE_COMMAND} --build ${WORK}/${client})
  must(${WORK}/${client}/${client} ${WORK}/host)

  # Its own folders first, and last.
  foreach(order "-I${SOURCE}/${client};${flags}" "${flags};-I${SOURCE}/${client}")
    must(${CXX} ${SOURCE}/${client}/${client}.cpp -o ${WORK}/by_pkg_config ${order} -Wl,-rpath,${prefix}/${LIBDIR})
    must(${WORK}/by_pkg_config ${WORK}/host)
  endforeach()
endforeach()

# The desktop viewer is a client as well. Of the tree it gets its own sources, the tables of names, and the header of the
# simulated market inside it, which has nothing of the library. Packages bring the same files.
if(FROM STREQUAL "install")
  get_filename_component(tree ${SOURCE}/../.. ABSOLUTE)
  set(viewer ${WORK}/viewer)
  file(COPY ${tree}/cli ${tree}/desktop ${SOURCE}/viewer/CMakeLists.txt DESTINATION ${viewer})
  file(GLOB tables RELATIVE ${tree}/src ${tree}/src/*/*_table.h)
  list(TRANSFORM tables PREPEND src/)
  foreach(file ${tables} market_server/market_server.h cmake/toolchain.cmake)
    string(REGEX REPLACE "^src/" "" place ${file})
    get_filename_component(folder ${place} DIRECTORY)
    file(COPY ${tree}/${file} DESTINATION ${viewer}/${folder})
  endforeach()
  must(${CMAKE_COMMAND} -S ${viewer} -B ${WORK}/viewer_build -G Ninja -DCMAKE_CXX_COMPILER=${VIEWER_CXX}
       -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0
       -DMARKET_SERVER=${MARKET_SERVER} -DMARKET_MODEL=${MARKET_MODEL})
  must(${CMAKE_COMMAND} --build ${WORK}/viewer_build --target csm-desktop)
  must(${CMAKE_COMMAND} -E env XDG_CONFIG_HOME=${WORK}/host XDG_DATA_HOME=${WORK}/host XDG_STATE_HOME=${WORK}/host
       ${WORK}/viewer_build/bin/csm-desktop --screenshot ${WORK}/board.png --page board --clock "2024-03-15 14:20:00")
  file(SIZE ${WORK}/board.png size)
  if(size LESS 50000)
    message(FATAL_ERROR "the viewer painted next to nothing: ${size} bytes")
  endif()
endif()
