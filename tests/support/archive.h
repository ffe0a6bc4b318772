#pragma once

#include "support/temporary_folder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>

/// A text as it is shown and compared: a long one by its length and checksum.
inline std::string brief(const std::string& text) {
    const auto* const bytes = reinterpret_cast<const Bytef*>(text.data());
    const auto size = static_cast<uInt>(text.size());
    return size <= 500 ? text : fmt::format("{} bytes, checksum {:08x}", size, crc32(0, bytes, size));
}

/// A zip archive, read without the library that writes them.
class Archive {
public:
    /// Reads the archive at `path`. It is a failure of the test if the archive contradicts itself.
    explicit Archive(const std::filesystem::path& path) : bytes_(get_file(path)) {
        const auto end = bytes_.rfind("PK\5\6");
        complete = end != std::string::npos;
        if (!complete) {
            return;
        }
        EXPECT_EQ(end + 22, bytes_.size()) << "something follows the archive's end";
        auto entry = number(end + 16, 4);
        for (auto count = number(end + 10, 2); count > 0; --count) {
            EXPECT_EQ(bytes_.substr(entry, 4), "PK\1\2");
            members.emplace(bytes_.substr(entry + 46, number(entry + 28, 2)), content(entry));
            entry += 46 + number(entry + 28, 2) + number(entry + 30, 2) + number(entry + 32, 2);
        }
        EXPECT_EQ(entry, end);
    }

    /// Whether there is a directory at the file's end.
    bool complete;

    /// The contents by name.
    std::multimap<std::string, std::string> members;

private:
    std::uint32_t number(std::size_t at, std::size_t size) const {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes_.data() + std::min(at, bytes_.size() - size), size);
        return value;
    }

    std::string content(std::size_t entry) const {
        const auto local = number(entry + 42, 4);
        const auto start = local + 30 + number(local + 26, 2) + number(local + 28, 2);
        const auto packed = number(entry + 20, 4);
        const auto size = number(entry + 24, 4);
        // The local header leaves checksum and sizes to the data descriptor, which has 64-bit sizes as it says.
        EXPECT_EQ(bytes_.substr(local, 4), "PK\3\4");
        EXPECT_EQ(number(local + 6, 2) & 8, 8U);
        EXPECT_TRUE(number(local + 14, 4) == 0 && number(local + 18, 4) == UINT32_MAX &&
                    number(local + 22, 4) == UINT32_MAX);
        EXPECT_EQ(bytes_.substr(start + packed, 4), "PK\7\x08");
        EXPECT_EQ(number(start + packed + 4, 4), number(entry + 16, 4));
        EXPECT_TRUE(number(start + packed + 8, 4) == packed && number(start + packed + 16, 4) == size);
        std::string content(size, '\0');
        z_stream stream{};
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes_.data())) + start;
        stream.avail_in = packed;
        stream.next_out = reinterpret_cast<Bytef*>(content.data());
        stream.avail_out = size;
        EXPECT_EQ(inflateInit2(&stream, -MAX_WBITS), Z_OK);
        EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
        inflateEnd(&stream);
        EXPECT_EQ(crc32(0, reinterpret_cast<const Bytef*>(content.data()), size), number(entry + 16, 4));
        return content;
    }

    std::string bytes_;
};
