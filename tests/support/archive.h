#pragma once

#include "support/temporary_folder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <map>

/// A text as it is shown and compared: a long one by its length and checksum.
inline std::string brief(const std::string& text) {
    const auto* const bytes = reinterpret_cast<const Bytef*>(text.data());
    const auto size = static_cast<uInt>(text.size());
    return size <= 500 ? text : fmt::format("{} bytes, checksum {:08x}", size, crc32(0, bytes, size));
}

/// A zip archive, read without the library that writes them.
struct Archive {
    /// Whether there is a directory at the file's end.
    bool complete;

    /// The contents by name.
    std::multimap<std::string, std::string> members;

    /// Reads the archive at `path`. The test fails if a member is not what the directory says.
    explicit Archive(const std::filesystem::path& path) {
        std::string bytes = get_file(path);
        const auto number = [&](std::size_t at, std::size_t size) {
            std::uint32_t value = 0;
            std::memcpy(&value, bytes.data() + at, size);
            return value;
        };
        const auto end = bytes.rfind("PK\5\6");
        complete = end != std::string::npos && end + 22 == bytes.size();
        auto entry = complete ? number(end + 16, 4) : 0;
        for (auto count = complete ? number(end + 10, 2) : 0; count > 0; --count) {
            const auto local = number(entry + 42, 4);
            std::string content(number(entry + 24, 4), '\0');
            z_stream stream{};
            stream.next_in = reinterpret_cast<Bytef*>(&bytes[local + 30 + number(local + 26, 2) + number(local + 28, 2)]);
            stream.avail_in = number(entry + 20, 4);
            stream.next_out = reinterpret_cast<Bytef*>(content.data());
            stream.avail_out = static_cast<uInt>(content.size());
            inflateInit2(&stream, -MAX_WBITS);
            const std::string name = bytes.substr(entry + 46, number(entry + 28, 2));
            EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END) << name;
            inflateEnd(&stream);
            EXPECT_EQ(crc32(0, reinterpret_cast<const Bytef*>(content.data()), stream.total_out), number(entry + 16, 4)) << name;
            members.emplace(name, content);
            entry += 46 + number(entry + 28, 2) + number(entry + 30, 2) + number(entry + 32, 2);
        }
    }
};
