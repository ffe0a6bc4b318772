if(NOT TARGET ZLIB::ZLIB)
  add_library(ZLIB::ZLIB ALIAS zlib)
endif()
# Not set by an argument of FetchContent_Declare(): CMake 3.25 takes it for a value of GIT_TAG and does not clone.
set_target_properties(zlib PROPERTIES SYSTEM ON)
target_include_directories(zlib INTERFACE ${zlib_BINARY_DIR})
corvel_read_version(zlib_VERSION ${zlib_BINARY_DIR}/zlib.h "define ZLIBNG_VERSION \"")
