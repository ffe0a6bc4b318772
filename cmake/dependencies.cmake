# The libraries that the project builds with, and where find_package() gets them from:
#   upstream  each project's own repository at a pinned commit; what releases are built from.
#   registry  what a bare Debian 12 machine gets from its package managers.
# The variable FETCHCONTENT_SOURCE_DIR_<NAME> (QUILL, FMT, NLOHMANN_JSON, MINIZIP-NG, ZLIB, GTEST) points upstream at a
# local tree.
set(CORVEL_DEPENDENCIES upstream CACHE STRING "Where libraries come from: upstream or registry")
set_property(CACHE CORVEL_DEPENDENCIES PROPERTY STRINGS upstream registry)
if(NOT CORVEL_DEPENDENCIES MATCHES "^(upstream|registry)$")
  message(FATAL_ERROR "CORVEL_DEPENDENCIES is '${CORVEL_DEPENDENCIES}'; it takes upstream or registry")
endif()
message(STATUS "Dependencies: ${CORVEL_DEPENDENCIES}")

include(FetchContent)

# Sets ${variable} to the version in the matching lines of a library's header, and prints it.
macro(corvel_read_version variable header pattern)
  file(STRINGS ${header} lines REGEX ${pattern})
  string(REGEX MATCHALL "[{ \"(.][0-9]+" numbers "${lines}")
  string(REGEX REPLACE "[{ \"(.]" "" numbers "${numbers}")
  list(JOIN numbers "." ${variable})
  message(STATUS "  ${CMAKE_FIND_PACKAGE_NAME} ${${variable}}")
endmacro()

# corvel_list_libraries(): writes libraries.txt for scripts/package, with the name, version and folder of each library
# that is compiled in.
function(corvel_list_libraries)
  set(list ${PROJECT_BINARY_DIR}/libraries.txt)
  file(WRITE ${list} "")
  foreach(library fmt minizip-ng nlohmann_json quill zlib)
    if(DEFINED ${library}_SOURCE_DIR)
      file(APPEND ${list} "${library}|${${library}_VERSION}|${${library}_SOURCE_DIR}\n")
    endif()
  endforeach()
endfunction()

# Variables set the options that the libraries' own build files declare.
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
set(INSTALL_GTEST OFF)

# These files define the targets that a library's own build files do not define.
file(COPY ${CMAKE_CURRENT_LIST_DIR}/dependencies/targets/ DESTINATION ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/dependencies/${CORVEL_DEPENDENCIES}.cmake)
