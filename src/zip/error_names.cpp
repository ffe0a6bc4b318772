#include "zip/zip.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Zip {

namespace {

struct ErrorName {
    std::int32_t code;
    const char* name;
};

constexpr std::array<ErrorName, 25> error_names = {{
    {0, "MZ_OK"},
    {-1, "MZ_STREAM_ERROR"},
    {-3, "MZ_DATA_ERROR"},
    {-4, "MZ_MEM_ERROR"},
    {-5, "MZ_BUF_ERROR"},
    {-6, "MZ_VERSION_ERROR"},
    {-100, "MZ_END_OF_LIST"},
    {-101, "MZ_END_OF_STREAM"},
    {-102, "MZ_PARAM_ERROR"},
    {-103, "MZ_FORMAT_ERROR"},
    {-104, "MZ_INTERNAL_ERROR"},
    {-105, "MZ_CRC_ERROR"},
    {-106, "MZ_CRYPT_ERROR"},
    {-107, "MZ_EXIST_ERROR"},
    {-108, "MZ_PASSWORD_ERROR"},
    {-109, "MZ_SUPPORT_ERROR"},
    {-110, "MZ_HASH_ERROR"},
    {-111, "MZ_OPEN_ERROR"},
    {-112, "MZ_CLOSE_ERROR"},
    {-113, "MZ_SEEK_ERROR"},
    {-114, "MZ_TELL_ERROR"},
    {-115, "MZ_READ_ERROR"},
    {-116, "MZ_WRITE_ERROR"},
    {-117, "MZ_SIGN_ERROR"},
    {-118, "MZ_SYMLINK_ERROR"},
}};

} // namespace

std::string mz_error_name(std::int32_t code) {
    const auto found = std::ranges::find(error_names, code, &ErrorName::code);
    return fmt::format("\"{}\"", found == error_names.end() ? "unknown" : found->name);
}

} // namespace Zip
