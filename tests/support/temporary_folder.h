#pragma once

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// An empty folder, removed with all that is in it when the test ends.
class TemporaryFolder {
public:
    TemporaryFolder()
        : path_(std::filesystem::temp_directory_path() / (L"corvel-test-" + std::to_wstring(GetCurrentProcessId()))) {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directory(path_);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        // A file that the process still has open stays until the next test of the name.
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const {
        return path_;
    }

    /// The names of everything in the folder, in order.
    std::vector<std::wstring> names() const {
        std::vector<std::wstring> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            names.push_back(entry.path().filename().wstring());
        }
        std::ranges::sort(names);
        return names;
    }

private:
    std::filesystem::path path_;
};

inline void put_file(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string get_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
