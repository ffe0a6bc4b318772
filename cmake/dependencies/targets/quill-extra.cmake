add_library(quill::quill INTERFACE IMPORTED GLOBAL)
target_include_directories(quill::quill INTERFACE ${quill_SOURCE_DIR}/include)
corvel_read_version(quill_VERSION ${quill_SOURCE_DIR}/include/quill/Backend.h "Version(Major|Minor|Patch)[{]")
