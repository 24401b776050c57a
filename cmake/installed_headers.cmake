# csm_installed_header(<root> <path> <folder>): copies a public header to <folder>/<path>. There it names others relative
# to itself ("../frame/observer.h" for "frame/observer.h"): whatever folders of the same names a client has, and in whichever
# order they are searched, a header of ours finds ours.
function(csm_installed_header root path folder)
  file(READ ${PROJECT_SOURCE_DIR}/${root}/${path} text)
  get_filename_component(depth "${path}" DIRECTORY)
  string(REGEX REPLACE "[^/]+" ".." up "${depth}")
  if(up)
    string(REGEX REPLACE "(\n#include \")([^\"]+\")" "\\1${up}/\\2" text "${text}")
  endif()
  if(EXISTS ${folder}/${path})
    file(READ ${folder}/${path} before)
  endif()
  if(NOT "${before}" STREQUAL "${text}")
    file(WRITE ${folder}/${path} "${text}")
  endif()
endfunction()
