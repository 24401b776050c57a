# The host of the benchmarks and of the fuzz targets that run whole services.
include_guard(GLOBAL)
set(instant_host_services ${CMAKE_CURRENT_LIST_DIR}/../host_services)
add_library(instant_host STATIC ${CMAKE_CURRENT_LIST_DIR}/instant_host.cpp
  ${instant_host_services}/symbols.cpp ${instant_host_services}/text.cpp)
csm_target(instant_host)
target_include_directories(instant_host PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(instant_host PUBLIC stock_market_headers)
