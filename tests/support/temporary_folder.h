#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// An empty folder, the current one until the test ends, and then removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(std::filesystem::temp_directory_path() / (L"corvel-test-" + std::to_wstring(GetCurrentProcessId()))) {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directory(path_);
        std::filesystem::current_path(path_);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::filesystem::current_path(before_);
        // A file that the process still has open stays until the next test of the name.
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const {
        return path_;
    }

private:
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
