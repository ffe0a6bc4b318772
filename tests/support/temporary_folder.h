#pragma once

#include "fakes/imports.h"

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
        remove();
        std::filesystem::create_directory(path_);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        remove();
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
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    // A file that the process still has open stays until the next test of the name.
    void remove() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::filesystem::path path_;
};

inline void put_file(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string get_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Answers SHGetKnownFolderPath with this folder, as the system does.
inline auto known_folder(const std::filesystem::path& folder) {
    return [folder](auto&&, auto&&, auto&&, PWSTR* path) {
        const std::wstring& text = folder.native();
        *path = static_cast<PWSTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(wchar_t)));
        std::copy_n(text.c_str(), text.size() + 1, *path);
        return S_OK;
    };
}
