#include "supportbundle/zip/zip.h"

#include "fakes/imports.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>

TEST(ZipAddFile, reads_as_much_as_the_file_had_when_it_was_opened) {
    const TemporaryFolder folder;
    put_file("agent.log", std::string(100000, 'x'));
    std::string later(200000, 'x');
    const Fakes::Replacement change(Fakes::ReadFile, [&](auto... arguments) {
        put_file("agent.log", later);
        return (*Fakes::ReadFile.original)(arguments...);
    });
    const auto add = [] {
        return Zip::write_zip("a.zip", {[](void* writer) { return Zip::zip_add_file(writer, "agent.log", "member"); }});
    };
    EXPECT_TRUE(add());
    const std::string archive = get_file("a.zip");
    for (const auto& [header, offset] : {std::pair("PK\3\4", 22U), {"PK\1\2", 24U}}) {
        std::uint32_t size = 0;
        std::memcpy(&size, archive.data() + archive.find(header) + offset, sizeof size);
        EXPECT_EQ(size, 100000U);
    }
    later.clear();
    EXPECT_FALSE(add());
}
