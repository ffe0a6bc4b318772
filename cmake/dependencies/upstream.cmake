# The variables for local trees are also accepted under the names of the repositories.
foreach(names JSON=NLOHMANN_JSON MINIZIP=MINIZIP-NG ZLIB-NG=ZLIB GOOGLETEST=GTEST)
  string(REGEX MATCH "^(.+)=(.+)$" _ ${names})
  if(DEFINED FETCHCONTENT_SOURCE_DIR_${CMAKE_MATCH_1})
    set(FETCHCONTENT_SOURCE_DIR_${CMAKE_MATCH_2} ${FETCHCONTENT_SOURCE_DIR_${CMAKE_MATCH_1}})
  endif()
endforeach()

# Keeps the paths of local trees out of the executable.
foreach(name QUILL FMT NLOHMANN_JSON MINIZIP-NG ZLIB)
  if(FETCHCONTENT_SOURCE_DIR_${name})
    corvel_hide_folder(${FETCHCONTENT_SOURCE_DIR_${name}} ./_deps/${name})
  endif()
endforeach()

# The project defines the targets of these libraries itself, so SOURCE_SUBDIR names a folder without build files: their
# own would add tests and installation rules, and Quill's links a second C run-time library with mingw.
FetchContent_Declare(quill GIT_REPOSITORY https://github.com/odygrd/quill.git
  GIT_TAG a46bb136261b375d16809cb582a4093996277eab SOURCE_SUBDIR include OVERRIDE_FIND_PACKAGE) # 7.5.0
FetchContent_Declare(fmt GIT_REPOSITORY https://github.com/fmtlib/fmt.git
  GIT_TAG 0c9fce2ffefecfdce794e1859584e25877b7b592 SOURCE_SUBDIR include OVERRIDE_FIND_PACKAGE) # 11.0.2
FetchContent_Declare(nlohmann_json GIT_REPOSITORY https://github.com/nlohmann/json.git
  GIT_TAG 9cca280a4d0ccf0c08f47a99aa71d1b0e52f8d03 SOURCE_SUBDIR include OVERRIDE_FIND_PACKAGE) # 3.11.3
FetchContent_Declare(minizip-ng GIT_REPOSITORY https://github.com/zlib-ng/minizip-ng.git
  GIT_TAG f3ed731e27a97e30dffe076ed5e0537daae5c1bd SOURCE_SUBDIR doc OVERRIDE_FIND_PACKAGE) # 4.0.10

FetchContent_Declare(ZLIB GIT_REPOSITORY https://github.com/zlib-ng/zlib-ng.git
  GIT_TAG c939498c7f2a1d645833a98251365e2c814fd736 OVERRIDE_FIND_PACKAGE) # 2.2.2
FetchContent_Declare(GTest GIT_REPOSITORY https://github.com/google/googletest.git
  GIT_TAG b514bdc898e2951020cbdca1304b75f5950d1f59 OVERRIDE_FIND_PACKAGE) # 1.15.2
set(BUILD_SHARED_LIBS OFF)
set(ZLIB_COMPAT ON)
set(ZLIB_ENABLE_TESTS OFF)
set(ZLIBNG_ENABLE_TESTS OFF)
set(WITH_GTEST OFF)
set(WITH_GZFILEOP OFF)
set(SKIP_INSTALL_ALL ON)
