#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// An empty folder with a name of its own, the current one until the test ends, and then removed with all that is in
/// it.
class TemporaryFolder {
public:
    TemporaryFolder() : path_(unused_path()) {
        std::filesystem::create_directory(path_);
        std::filesystem::current_path(path_);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::filesystem::current_path(before_);
        clear();
        std::error_code error;
        std::filesystem::remove(path_, error);
        EXPECT_FALSE(error) << "left behind: " << path_;
    }

    const std::filesystem::path& path() const {
        return path_;
    }

    /// Removes what is in the folder, read-only files as well.
    void clear() const {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path_)) {
            SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
        }
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            std::filesystem::remove_all(entry, ignored);
        }
    }

private:
    static std::filesystem::path unused_path() {
        LARGE_INTEGER count{};
        QueryPerformanceCounter(&count);
        const std::wstring name = std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(count.QuadPart);
        return std::filesystem::temp_directory_path() / (L"corvel-test-" + name);
    }

    std::filesystem::path before_ = std::filesystem::current_path();
    std::filesystem::path path_;
};

inline void put_file(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string get_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
