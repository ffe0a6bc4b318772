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

# corvel_describe_library(NAME VERSION LICENCE SOURCE NOTICE FILES...): what packages tell about a library that is linked
# in. LICENCE is an SPDX expression, SOURCE a package URL, NOTICE the library's own licence text,
# FILES what of it is compiled in.
set(CORVEL_LIBRARIES ${PROJECT_BINARY_DIR}/libraries.txt)
set(CORVEL_NOTICES ${PROJECT_BINARY_DIR}/THIRD_PARTY_NOTICES.txt)
file(WRITE ${CORVEL_LIBRARIES} "")
file(WRITE ${CORVEL_NOTICES} "corvelctl contains the following libraries.\n")
function(corvel_describe_library name version licence source notice)
  list(JOIN ARGN "|" files)
  file(APPEND ${CORVEL_LIBRARIES} "${name}|${version}|${licence}|${source}|${files}\n")
  file(READ ${notice} text)
  string(REPEAT "=" 100 line)
  file(APPEND ${CORVEL_NOTICES} "\n${line}\n${name} ${version}\n${line}\n\n${text}")
endfunction()

# The same for the compiler's run-time library, which is linked in statically.
function(corvel_describe_runtime)
  if(MSVC)
    return()
  endif()
  foreach(library libstdc++.a libgcc.a libmingw32.a libmingwex.a libwinpthread.a)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
      OUTPUT_VARIABLE ${library} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  execute_process(COMMAND dpkg-query -W -f \${Version} gcc-mingw-w64-x86-64-posix OUTPUT_VARIABLE gcc)
  execute_process(COMMAND dpkg-query -W -f \${Version} mingw-w64-x86-64-dev OUTPUT_VARIABLE mingw)
  corvel_describe_library(gcc "${gcc}" "GPL-3.0-or-later WITH GCC-exception-3.1"
    pkg:deb/debian/gcc-mingw-w64-x86-64-posix@${gcc} /usr/share/doc/gcc-mingw-w64-x86-64-posix/copyright
    ${libstdc++.a} ${libgcc.a})
  corvel_describe_library(mingw-w64 "${mingw}" ZPL-2.1 pkg:deb/debian/mingw-w64-x86-64-dev@${mingw}
    /usr/share/doc/mingw-w64-x86-64-dev/copyright ${libmingw32.a} ${libmingwex.a} ${libwinpthread.a})
endfunction()

# Variables count as the options that the libraries' own build files declare.
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
set(INSTALL_GTEST OFF)

# What a provider declares is completed here: the targets that a library's own build files do not give.
file(COPY ${CMAKE_CURRENT_LIST_DIR}/dependencies/targets/ DESTINATION ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/dependencies/${CORVEL_DEPENDENCIES}.cmake)
