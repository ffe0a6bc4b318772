#include "supportbundle/zip/zip.h"

#include "fakes/imports.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>

namespace {

TEST(ZipAddFile, reads_as_much_as_the_file_had_when_it_was_opened) {
    const TemporaryFolder folder;
    const auto file = folder.path() / L"agent.log";
    const auto add = [&] {
        return Zip::write_zip(folder.path() / L"a.zip",
                              {[&](void* writer) { return Zip::zip_add_file(writer, file, "member"); }});
    };
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
