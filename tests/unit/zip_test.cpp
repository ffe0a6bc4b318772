#include "supportbundle/zip/zip.h"

#include "fakes/imports.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>

namespace {

class ZipAddFile : public testing::Test {
protected:
    TemporaryFolder folder;
    std::filesystem::path file = folder.path() / L"agent.log";

    bool add() const {
        return Zip::write_zip(folder.path() / L"a.zip",
                              {[&](void* writer) { return Zip::zip_add_file(writer, file, "member"); }});
    }
};

TEST_F(ZipAddFile, takes_a_file_that_its_writer_may_delete_but_none_that_is_shared_with_nobody) {
    constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    for (const DWORD sharing : {all, DWORD{0}}) {
        HANDLE open = CreateFileW(file.c_str(), GENERIC_WRITE | DELETE, sharing, nullptr, CREATE_ALWAYS, 0, nullptr);
        EXPECT_EQ(add(), sharing == all);
        CloseHandle(open);
    }
}

TEST_F(ZipAddFile, reads_as_much_as_the_file_had_when_it_was_opened) {
    put_file(file, std::string(100000, 'x'));
    int reads = 0;
    {
        const Fakes::Replacement grow(Fakes::ReadFile, [&](auto... arguments) {
            if (++reads < 10) {
                std::ofstream(file, std::ios::binary | std::ios::app) << std::string(100000, 'y');
            }
            return (*Fakes::ReadFile.original)(arguments...);
        });
        EXPECT_TRUE(add());
    }
    const std::string archive = get_file(folder.path() / L"a.zip");
    std::uint32_t size = 0;
    std::memcpy(&size, archive.data() + archive.find("PK\1\2") + 24, sizeof size);
    EXPECT_EQ(size, 100000U);

    const Fakes::Replacement cut(Fakes::ReadFile, [&](auto... arguments) {
        put_file(file, "");
        return (*Fakes::ReadFile.original)(arguments...);
    });
    EXPECT_FALSE(add());
    EXPECT_EQ(Zip::mz_error_name(-2), "\"unknown\"");
}

} // namespace
