# The libraries that the project builds with, and where find_package() gets them from:
#   upstream  each project's own repository at a pinned commit; what releases are built from.
#   registry  what a bare Debian 12 machine gets from its package managers.
#   auto      upstream if its repositories can be reached, else registry.
# The variable FETCHCONTENT_SOURCE_DIR_<NAME> (QUILL, FMT, NLOHMANN_JSON, MINIZIP-NG, ZLIB, GTEST) points upstream at a
# local tree.
set(CORVEL_DEPENDENCIES auto CACHE STRING "Where libraries come from: auto, upstream or registry")
set_property(CACHE CORVEL_DEPENDENCIES PROPERTY STRINGS auto upstream registry)

include(FetchContent)

set(CORVEL_PROVIDER ${CORVEL_DEPENDENCIES})
if(CORVEL_PROVIDER STREQUAL "auto")
  # The answer is kept, so that a later change of the network does not change the libraries under a build folder.
  if(NOT DEFINED CACHE{CORVEL_PROBED_PROVIDER})
    find_program(CORVEL_GIT git)
    mark_as_advanced(CORVEL_GIT)
    set(status 1)
    if(CORVEL_GIT)
      execute_process(
        COMMAND ${CMAKE_COMMAND} -E env GIT_TERMINAL_PROMPT=0
                ${CORVEL_GIT} ls-remote --exit-code https://github.com/odygrd/quill.git HEAD
        TIMEOUT 5 RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
    endif()
    if(status EQUAL 0)
      set(CORVEL_PROBED_PROVIDER upstream CACHE INTERNAL "")
    else()
      set(CORVEL_PROBED_PROVIDER registry CACHE INTERNAL "")
    endif()
  endif()
  set(CORVEL_PROVIDER ${CORVEL_PROBED_PROVIDER})
elseif(NOT CORVEL_PROVIDER MATCHES "^(upstream|registry)$")
  message(FATAL_ERROR "CORVEL_DEPENDENCIES is '${CORVEL_DEPENDENCIES}'; it takes auto, upstream or registry")
endif()
message(STATUS "Dependencies: ${CORVEL_PROVIDER}")

# Sets ${variable} to the version in the matching lines of a library's header, and prints it.
macro(corvel_read_version variable header pattern)
  file(STRINGS ${header} lines REGEX ${pattern})
  string(REGEX MATCHALL "[{ \"(.][0-9]+" numbers "${lines}")
  string(REGEX REPLACE "[{ \"(.]" "" numbers "${numbers}")
  list(JOIN numbers "." ${variable})
  message(STATUS "  ${CMAKE_FIND_PACKAGE_NAME} ${${variable}}")
endmacro()

# What a provider declares is completed here: the targets that a library's own build files do not give.
file(COPY ${CMAKE_CURRENT_LIST_DIR}/dependencies/targets/ DESTINATION ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/dependencies/${CORVEL_PROVIDER}.cmake)
