set(packages ${CMAKE_BINARY_DIR}/packages)
if(NOT EXISTS ${packages}/usr/include/quill/Backend.h)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/fetch_quill.sh ${packages} COMMAND_ERROR_IS_FATAL ANY)
endif()
if(NOT EXISTS ${packages}/minizip/mz.h)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/fetch_minizip.sh ${packages}/minizip COMMAND_ERROR_IS_FATAL ANY)
endif()
# /usr/include as a whole belongs to the host's compiler; link just these two out of it.
foreach(library fmt nlohmann)
  if(NOT EXISTS /usr/include/${library})
    message(FATAL_ERROR "/usr/include/${library} is missing; scripts/setup installs it")
  endif()
  file(CREATE_LINK /usr/include/${library} ${packages}/usr/include/${library} SYMBOLIC)
endforeach()

FetchContent_Declare(quill SOURCE_DIR ${packages}/usr SOURCE_SUBDIR include OVERRIDE_FIND_PACKAGE)
FetchContent_Declare(fmt SOURCE_DIR ${packages}/usr SOURCE_SUBDIR include OVERRIDE_FIND_PACKAGE)
FetchContent_Declare(nlohmann_json SOURCE_DIR ${packages}/usr SOURCE_SUBDIR include OVERRIDE_FIND_PACKAGE)
FetchContent_Declare(minizip-ng SOURCE_DIR ${packages}/minizip SOURCE_SUBDIR doc OVERRIDE_FIND_PACKAGE)
FetchContent_Declare(GTest SOURCE_DIR /usr/src/googletest OVERRIDE_FIND_PACKAGE)

set(ZLIB_USE_STATIC_LIBS ON)

function(corvel_describe_libraries)
  set(documents /usr/share/doc)
  corvel_describe_library(fmt ${fmt_VERSION} MIT pkg:deb/debian/libfmt-dev@${fmt_VERSION}
    ${documents}/libfmt-dev/copyright /usr/include/fmt)
  corvel_describe_library(minizip-ng ${minizip-ng_VERSION} Zlib pkg:npm/react-native-code-push@9.0.1
    ${minizip-ng_SOURCE_DIR}/LICENSE ${minizip-ng_SOURCE_DIR})
  corvel_describe_library(nlohmann_json ${nlohmann_json_VERSION} MIT pkg:deb/debian/nlohmann-json3-dev@${nlohmann_json_VERSION}
    ${documents}/nlohmann-json3-dev/copyright /usr/include/nlohmann)
  corvel_describe_library(quill ${quill_VERSION} MIT pkg:deb/debian/quill-dev@${quill_VERSION}
    ${quill_SOURCE_DIR}/share/doc/quill-dev/copyright ${quill_SOURCE_DIR}/include/quill)
  corvel_describe_library(zlib ${ZLIB_VERSION_STRING} Zlib pkg:deb/debian/libz-mingw-w64-dev@${ZLIB_VERSION_STRING}
    ${documents}/libz-mingw-w64-dev/copyright ${ZLIB_LIBRARIES})
endfunction()
