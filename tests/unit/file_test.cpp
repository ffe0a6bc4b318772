#include "config/file.h"

#include "fakes/imports.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cerrno>

using testing::ElementsAre;

namespace {

class AtomicWrite : public testing::Test {
protected:
    TemporaryFolder folder;
    std::filesystem::path target = folder.path() / L"corvel-\u20ac.json";
    std::filesystem::path temporary = folder.path() / L"corvel-\u20ac.json._corvel_tmp";
    std::string content = std::string("x\0y\r\n\xFF", 6);
};

TEST_F(AtomicWrite, replaces_the_file_by_a_new_one_whatever_stands_in_the_way) {
    const auto planted = folder.path() / L"planted";
    put_file(target, "old");
    put_file(planted, "another link to what was left there, longer than what is written");
    ASSERT_TRUE(CreateHardLinkW(temporary.c_str(), planted.c_str(), nullptr));
    EXPECT_FALSE(Config::write_atomically(target, content, 0644));
    EXPECT_EQ(get_file(target), content);
    EXPECT_THAT(get_file(planted), testing::StartsWith("another"));
    EXPECT_THAT(folder.names(), ElementsAre(target.filename().wstring(), L"planted"));

    std::filesystem::create_directory(temporary);
    EXPECT_EQ(Config::write_atomically(target, "new", 0644), std::errc::file_exists);
    EXPECT_EQ(get_file(target), content);
}

TEST_F(AtomicWrite, makes_the_file_read_only_if_no_permission_bit_lets_it_be_written) {
    EXPECT_FALSE(Config::write_atomically(target, "x", 0444));
    EXPECT_TRUE((GetFileAttributesW(target.c_str()) & FILE_ATTRIBUTE_READONLY) != 0);
    SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(AtomicWrite, goes_on_after_short_and_interrupted_writes) {
    int call = 0;
    const Fakes::Replacement write(Fakes::_write, [&](int file, const void* bytes, unsigned length) {
        const int transient[] = {EINTR, EAGAIN, EWOULDBLOCK};
        if (call++ < 3) {
            errno = transient[call - 1];
            return -1;
        }
        return (*Fakes::_write.original)(file, bytes, std::min(length, 2U));
    });
    EXPECT_FALSE(Config::write_atomically(target, content, 0644));
    EXPECT_EQ(get_file(target), content);
    EXPECT_EQ(call, 6);
}

TEST(Read, returns_every_byte) {
    const TemporaryFolder folder;
    const auto path = folder.path() / L"\u20ac";
    for (const std::size_t size : {0U, 15U, 4096U, 100001U}) {
        std::string content(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            content[i] = static_cast<char>(i % 251);
        }
        put_file(path, content);
        EXPECT_EQ(Config::read(path), content) << size;
    }
}

} // namespace
