# minizip-ng's writer with deflate and nothing else. Its questions to the system are left to whoever links it: its own
# back end takes a failed read for the end of the file and lets nobody delete a file meanwhile.
set(files crypt os strm strm_buf strm_mem strm_split strm_zlib zip zip_rw)
list(TRANSFORM files REPLACE "(.+)" "${minizip-ng_SOURCE_DIR}/mz_\\1.c")
add_library(minizip-ng STATIC ${files})
add_library(MINIZIP::minizip-ng ALIAS minizip-ng)
target_include_directories(minizip-ng SYSTEM PUBLIC ${minizip-ng_SOURCE_DIR})
target_compile_definitions(minizip-ng PRIVATE
  HAVE_ZLIB ZLIB_COMPAT MZ_ZIP_NO_CRYPTO MZ_ZIP_NO_ENCRYPTION _FILE_OFFSET_BITS=64)
target_link_libraries(minizip-ng PRIVATE ZLIB::ZLIB)
corvel_read_version(minizip-ng_VERSION ${minizip-ng_SOURCE_DIR}/mz.h "define MZ_VERSION ")
