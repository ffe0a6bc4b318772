add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED GLOBAL)
target_include_directories(nlohmann_json::nlohmann_json INTERFACE ${nlohmann_json_SOURCE_DIR}/include)
corvel_read_version(nlohmann_json_VERSION ${nlohmann_json_SOURCE_DIR}/include/nlohmann/detail/abi_macros.hpp
  "^#define NLOHMANN_JSON_VERSION_(MAJOR|MINOR|PATCH)")
