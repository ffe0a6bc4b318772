# Only the sources that write archives with deflate. src/zip opens, reads and writes the files: the library's own code
# for Windows treats a failed read as the end of the file, and other processes cannot delete a file that it has open.
set(files crypt strm strm_mem strm_zlib zip)
list(TRANSFORM files REPLACE "(.+)" "${minizip-ng_SOURCE_DIR}/mz_\\1.c")
add_library(minizip-ng STATIC ${files} ${PROJECT_SOURCE_DIR}/cmake/dependencies/minizip_os.c)
add_library(MINIZIP::minizip-ng ALIAS minizip-ng)
target_include_directories(minizip-ng SYSTEM PUBLIC ${minizip-ng_SOURCE_DIR})
target_compile_definitions(minizip-ng PRIVATE
  HAVE_ZLIB ZLIB_COMPAT MZ_ZIP_NO_CRYPTO MZ_ZIP_NO_ENCRYPTION _FILE_OFFSET_BITS=64)
target_link_libraries(minizip-ng PRIVATE ZLIB::ZLIB)
corvel_read_version(minizip-ng_VERSION ${minizip-ng_SOURCE_DIR}/mz.h "define MZ_VERSION ")
