# Qwt as the target csm_qwt, if Qt Widgets and Qwt are here; QWT_FOUND says so.
find_package(Qt5 5.15 COMPONENTS Widgets QUIET)
find_path(QWT_INCLUDE_DIR qwt_plot_tradingcurve.h PATH_SUFFIXES qwt)
find_library(QWT_LIBRARY NAMES qwt-qt5 qwt)
set(QWT_FOUND OFF)
if(NOT Qt5Widgets_FOUND OR NOT QWT_INCLUDE_DIR OR NOT QWT_LIBRARY)
  return()
endif()
set(QWT_FOUND ON)

# One header of version 6.1 declares a constructor as C++20 no longer allows (g++ refuses it): its copy does not.
set(copies ${PROJECT_BINARY_DIR}/qwt)
file(GLOB headers ${QWT_INCLUDE_DIR}/qwt*.h)
file(COPY ${headers} DESTINATION ${copies})
file(READ ${QWT_INCLUDE_DIR}/qwt_series_store.h text)
string(REPLACE "explicit QwtSeriesStore<T>()" "explicit QwtSeriesStore()" text "${text}")
string(REPLACE "    ~QwtSeriesStore<T>()" "    ~QwtSeriesStore()" text "${text}")
file(WRITE ${copies}/qwt_series_store.h "${text}")

add_library(csm_qwt UNKNOWN IMPORTED)
set_target_properties(csm_qwt PROPERTIES
  IMPORTED_LOCATION ${QWT_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${copies} INTERFACE_LINK_LIBRARIES Qt5::Widgets)
