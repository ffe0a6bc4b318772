#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

/// An empty folder with a name of its own, the current one until the test ends, and then removed with all that is in
/// it.
struct TemporaryFolder {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::path path = std::filesystem::temp_directory_path() / "corvel-test-";

    TemporaryFolder() {
        LARGE_INTEGER count{};
        QueryPerformanceCounter(&count);
        path += std::to_string(GetCurrentProcessId()) + "-" + std::to_string(count.QuadPart);
        std::filesystem::create_directory(path);
        std::filesystem::current_path(path);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::filesystem::current_path(before);
        clear();
        EXPECT_TRUE(std::filesystem::remove(path));
    }

    /// Removes what is in the folder, read-only files as well.
    void clear() const {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) { SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL); }
        for (const auto& entry : std::filesystem::directory_iterator(path)) { std::filesystem::remove_all(entry); }
    }
};

/// Writes a file and makes the folders that it is in.
inline void put_file(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(absolute(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string get_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
