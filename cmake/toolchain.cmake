# Language, warnings and sanitizers: the same for every target of the project.
# `csm_target(<name>)` is the one call that a target needs.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

find_program(CSM_CCACHE ccache)
if(CSM_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CSM_CCACHE})
endif()

# A quarter of the usual linker's time, where it is installed.
find_program(CSM_LLD ld.lld)
if(CSM_LLD)
  add_link_options(-fuse-ld=lld)
endif()

add_library(csm_flags INTERFACE)
target_compile_options(csm_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
  -Werror -ffp-contract=off -fno-fast-math)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # False positives of GCC 12 in inlined library code.
  target_compile_options(csm_flags INTERFACE -Wno-error=maybe-uninitialized -Wno-error=stringop-overflow
    -Wno-error=array-bounds -Wno-error=restrict -Wno-error=dangling-pointer)
endif()
target_compile_definitions(csm_flags INTERFACE
  QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII BOOST_BIND_GLOBAL_PLACEHOLDERS)

if(CSM_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
elseif(CSM_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan)  # Boost.Asio has fences, which the sanitizer does not follow
  endif()
  add_link_options(-fsanitize=thread)
  # The sanitizer does not know bare fences. Asio needs none: its queues stand behind a mutex.
  add_compile_definitions(BOOST_ASIO_DISABLE_FENCED_BLOCK)
elseif(CSM_SANITIZE)
  message(FATAL_ERROR "CSM_SANITIZE is '${CSM_SANITIZE}'; it may be empty, 'address' or 'thread'")
endif()

if(CSM_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()

if(CSM_BUILD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(csm_target name)
  target_link_libraries(${name} PRIVATE csm_flags)
endfunction()

# For targets that include rapidjson: clang's undefined-behaviour sanitizer leaves that library's headers alone.
function(csm_uses_rapidjson name)
  if(CSM_SANITIZE STREQUAL "address" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${name} PRIVATE -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizer_exceptions.txt)
  endif()
endfunction()

# csm_precompile(<name> <header>...): headers that nearly every source of a large target includes are read once for the
# target. The sources include what they use all the same: check-tidy and the tests of the headers build without.
function(csm_precompile name)
  target_precompile_headers(${name} PRIVATE ${ARGN})
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${name} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")  # so that ccache can remember it
  endif()
endfunction()

# csm_unity(<name> [APART <source>...]): in builds with CSM_UNITY several sources of a large target are compiled at once,
# which takes a quarter off a whole build: headers are read and templates are made once for all of them. What one source
# keeps to itself must then have other names than what its neighbours do; where that is too much to ask, and where objects
# are picked one by one, a source stays apart. Other builds and check-tidy compile each source alone.
function(csm_unity name)
  cmake_parse_arguments(ARG "" "" "APART" ${ARGN})
  if(CSM_UNITY)
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # It takes a source that stands beside others for a header.
      target_compile_options(${name} PRIVATE -Wno-subobject-linkage)
    endif()
    set_source_files_properties(${ARG_APART} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endfunction()
