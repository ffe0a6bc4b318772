# The libraries that the project builds with, and where they come from:
#   upstream  each project's own repository at a pinned commit; what releases are built from. The variable
#             FETCHCONTENT_SOURCE_DIR_<NAME> (QUILL, FMT, JSON, MINIZIP, ZLIB-NG, GOOGLETEST) points it at a local tree.
#   registry  what a bare Debian 12 machine gets from its package managers.
#   auto      upstream if its repositories can be reached, else registry.
set(CORVEL_DEPENDENCIES auto CACHE STRING "Where libraries come from: auto, upstream or registry")
set_property(CACHE CORVEL_DEPENDENCIES PROPERTY STRINGS auto upstream registry)

include(FetchContent)

set(CORVEL_QUILL_REPOSITORY https://github.com/odygrd/quill.git)

# Sets ${result} to what CORVEL_DEPENDENCIES asks for. A probe's answer is kept, so that a later change of the network
# does not change the libraries under a build folder.
function(corvel_choose_provider result)
  if(NOT CORVEL_DEPENDENCIES STREQUAL "auto")
    set(${result} ${CORVEL_DEPENDENCIES} PARENT_SCOPE)
    return()
  endif()
  if(NOT DEFINED CACHE{CORVEL_PROBED_PROVIDER})
    find_program(CORVEL_GIT git)
    mark_as_advanced(CORVEL_GIT)
    set(status 1)
    if(CORVEL_GIT)
      execute_process(
        COMMAND ${CMAKE_COMMAND} -E env GIT_TERMINAL_PROMPT=0
                ${CORVEL_GIT} ls-remote --exit-code ${CORVEL_QUILL_REPOSITORY} HEAD
        TIMEOUT 5 RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
    endif()
    if(status EQUAL 0)
      set(CORVEL_PROBED_PROVIDER upstream CACHE INTERNAL "")
    else()
      set(CORVEL_PROBED_PROVIDER registry CACHE INTERNAL "")
    endif()
  endif()
  set(${result} ${CORVEL_PROBED_PROVIDER} PARENT_SCOPE)
endfunction()

# The three libraries are headers alone. Their own build files are left out: they would add tests and installation, and
# Quill's links a second C run-time library on mingw.
function(corvel_fetch_upstream)
  FetchContent_Declare(quill GIT_REPOSITORY ${CORVEL_QUILL_REPOSITORY}
    GIT_TAG a46bb136261b375d16809cb582a4093996277eab SOURCE_SUBDIR include) # 7.5.0
  FetchContent_Declare(fmt GIT_REPOSITORY https://github.com/fmtlib/fmt.git
    GIT_TAG 0c9fce2ffefecfdce794e1859584e25877b7b592 SOURCE_SUBDIR include) # 11.0.2
  FetchContent_Declare(json GIT_REPOSITORY https://github.com/nlohmann/json.git
    GIT_TAG 9cca280a4d0ccf0c08f47a99aa71d1b0e52f8d03 SOURCE_SUBDIR include) # 3.11.3
  FetchContent_Declare(googletest GIT_REPOSITORY https://github.com/google/googletest.git
    GIT_TAG b514bdc898e2951020cbdca1304b75f5950d1f59 SYSTEM) # 1.15.2
  FetchContent_Declare(zlib-ng GIT_REPOSITORY https://github.com/zlib-ng/zlib-ng.git
    GIT_TAG c939498c7f2a1d645833a98251365e2c814fd736 SYSTEM) # 2.2.2
  FetchContent_Declare(minizip GIT_REPOSITORY https://github.com/zlib-ng/minizip-ng.git
    GIT_TAG f3ed731e27a97e30dffe076ed5e0537daae5c1bd SOURCE_SUBDIR doc) # 4.0.10
  set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
  set(BUILD_SHARED_LIBS OFF)
  set(ZLIB_COMPAT ON)
  set(ZLIB_ENABLE_TESTS OFF)
  set(ZLIBNG_ENABLE_TESTS OFF)
  set(WITH_GTEST OFF)
  set(WITH_GZFILEOP OFF)
  set(SKIP_INSTALL_ALL ON)
  FetchContent_MakeAvailable(quill fmt json minizip zlib-ng)
  target_include_directories(zlib INTERFACE ${zlib-ng_BINARY_DIR})
  set(CORVEL_MINIZIP_SOURCE ${minizip_SOURCE_DIR} PARENT_SCOPE)
  set(CORVEL_ZLIB zlib PARENT_SCOPE)
  set(CORVEL_ZLIB_HEADER ${zlib-ng_BINARY_DIR}/zlib.h PARENT_SCOPE)
  set(CORVEL_QUILL_INCLUDE ${quill_SOURCE_DIR}/include PARENT_SCOPE)
  set(CORVEL_FMT_INCLUDE ${fmt_SOURCE_DIR}/include PARENT_SCOPE)
  set(CORVEL_JSON_INCLUDE ${json_SOURCE_DIR}/include PARENT_SCOPE)
endfunction()

function(corvel_fetch_registry)
  set(include ${CMAKE_BINARY_DIR}/packages/usr/include)
  if(NOT EXISTS ${include}/quill/Backend.h)
    execute_process(COMMAND ${CMAKE_SOURCE_DIR}/cmake/fetch_quill.sh ${CMAKE_BINARY_DIR}/packages
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
  if(NOT EXISTS ${CMAKE_BINARY_DIR}/packages/minizip/mz.h)
    execute_process(COMMAND ${CMAKE_SOURCE_DIR}/cmake/fetch_minizip.sh ${CMAKE_BINARY_DIR}/packages/minizip
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
  set(CORVEL_MINIZIP_SOURCE ${CMAKE_BINARY_DIR}/packages/minizip PARENT_SCOPE)
  find_path(CORVEL_ZLIB_INCLUDE zlib.h REQUIRED)
  find_library(CORVEL_ZLIB_LIBRARY NAMES libz.a REQUIRED)
  add_library(registry_zlib INTERFACE)
  target_include_directories(registry_zlib INTERFACE ${CORVEL_ZLIB_INCLUDE})
  target_link_libraries(registry_zlib INTERFACE ${CORVEL_ZLIB_LIBRARY})
  set(CORVEL_ZLIB registry_zlib PARENT_SCOPE)
  set(CORVEL_ZLIB_HEADER ${CORVEL_ZLIB_INCLUDE}/zlib.h PARENT_SCOPE)
  # /usr/include as a whole belongs to the host's compiler; link just these two out of it.
  foreach(library fmt nlohmann)
    if(NOT EXISTS /usr/include/${library})
      message(FATAL_ERROR "/usr/include/${library} is missing; scripts/setup installs it")
    endif()
    file(CREATE_LINK /usr/include/${library} ${include}/${library} SYMBOLIC)
  endforeach()
  FetchContent_Declare(googletest SOURCE_DIR /usr/src/googletest SYSTEM)
  set(CORVEL_QUILL_INCLUDE ${include} PARENT_SCOPE)
  set(CORVEL_FMT_INCLUDE ${include} PARENT_SCOPE)
  set(CORVEL_JSON_INCLUDE ${include} PARENT_SCOPE)
endfunction()

# minizip-ng's writer with deflate and nothing else. Its questions to the system are left to whoever links it: its own
# back end takes a failed read for the end of the file and lets nobody delete a file meanwhile.
function(corvel_add_minizip source zlib)
  set(files crypt os strm strm_buf strm_mem strm_split strm_zlib zip zip_rw)
  list(TRANSFORM files REPLACE "(.+)" "${source}/mz_\\1.c")
  add_library(minizip STATIC ${files})
  target_include_directories(minizip SYSTEM PUBLIC ${source})
  target_compile_definitions(minizip PRIVATE
    HAVE_ZLIB ZLIB_COMPAT MZ_ZIP_NO_CRYPTO MZ_ZIP_NO_ENCRYPTION _FILE_OFFSET_BITS=64)
  target_link_libraries(minizip PRIVATE ${zlib})
  if(NOT MSVC)
    target_compile_options(minizip PRIVATE -fstack-protector-strong -ffunction-sections -ffile-prefix-map=${source}/=)
  endif()
endfunction()

function(corvel_add_header_library target include)
  add_library(${target} INTERFACE IMPORTED)
  target_include_directories(${target} INTERFACE ${include})
endfunction()

# Makes GTest::gmock available; only the tests call it.
macro(corvel_add_googletest)
  set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
  set(INSTALL_GTEST OFF)
  FetchContent_MakeAvailable(googletest)
endmacro()

function(corvel_print_version name header pattern)
  file(STRINGS ${header} lines REGEX ${pattern})
  string(REGEX MATCHALL "[{ \"(.][0-9]+" numbers "${lines}")
  string(REGEX REPLACE "[{ \"(.]" "" numbers "${numbers}")
  list(JOIN numbers "." version)
  message(STATUS "  ${name} ${version}")
endfunction()

corvel_choose_provider(CORVEL_PROVIDER)
message(STATUS "Dependencies: ${CORVEL_PROVIDER}")
if(CORVEL_PROVIDER STREQUAL "upstream")
  corvel_fetch_upstream()
elseif(CORVEL_PROVIDER STREQUAL "registry")
  corvel_fetch_registry()
else()
  message(FATAL_ERROR "CORVEL_DEPENDENCIES is '${CORVEL_DEPENDENCIES}'; it takes auto, upstream or registry")
endif()
corvel_add_header_library(quill::quill ${CORVEL_QUILL_INCLUDE})
corvel_add_header_library(fmt::fmt-header-only ${CORVEL_FMT_INCLUDE})
target_compile_definitions(fmt::fmt-header-only INTERFACE FMT_HEADER_ONLY=1)
corvel_add_header_library(nlohmann_json::nlohmann_json ${CORVEL_JSON_INCLUDE})

corvel_add_minizip(${CORVEL_MINIZIP_SOURCE} ${CORVEL_ZLIB})

corvel_print_version(Quill ${CORVEL_QUILL_INCLUDE}/quill/Backend.h "Version(Major|Minor|Patch)[{]")
if(EXISTS ${CORVEL_FMT_INCLUDE}/fmt/base.h)
  corvel_print_version({fmt} ${CORVEL_FMT_INCLUDE}/fmt/base.h "define FMT_VERSION ")
else()
  corvel_print_version({fmt} ${CORVEL_FMT_INCLUDE}/fmt/core.h "define FMT_VERSION ")
endif()
corvel_print_version(nlohmann-json ${CORVEL_JSON_INCLUDE}/nlohmann/detail/abi_macros.hpp
  "^#define NLOHMANN_JSON_VERSION_(MAJOR|MINOR|PATCH)")
corvel_print_version(minizip-ng ${CORVEL_MINIZIP_SOURCE}/mz.h "define MZ_VERSION ")
file(STRINGS ${CORVEL_ZLIB_HEADER} zlib_version REGEX "define ZLIB(NG)?_VERSION \"")
string(REGEX MATCHALL "[0-9][0-9.]+[^\" ]*" zlib_version "${zlib_version}")
string(REPLACE ";" ", " zlib_version "${zlib_version}")
message(STATUS "  zlib ${zlib_version}")
