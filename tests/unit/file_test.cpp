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

    void SetUp() override {
        put_file(target, "old");
    }
    void expect_nothing_lost() {
        EXPECT_EQ(get_file(target), "old");
        EXPECT_THAT(folder.names(), ElementsAre(target.filename().wstring()));
    }
};

TEST_F(AtomicWrite, replaces_the_file_and_leaves_nothing_beside_it) {
    put_file(folder.path() / L"corvel-\u20ac.json._corvel_tmp", "left by a crash, and longer than what is written");
    EXPECT_FALSE(Config::write_atomically(target, "a\r\n\0b\xFF", 0644));
    EXPECT_EQ(get_file(target), std::string("a\r\n"));
    EXPECT_FALSE(Config::write_atomically(target, std::string_view("x\0y\n", 4), 0644));
    EXPECT_EQ(get_file(target), std::string("x\0y\n", 4));
    EXPECT_THAT(folder.names(), ElementsAre(target.filename().wstring()));
}

TEST_F(AtomicWrite, makes_the_file_read_only_if_no_permission_bit_lets_it_be_written) {
    const auto fresh = folder.path() / L"fresh";
    EXPECT_FALSE(Config::write_atomically(fresh, "x", 0444));
    EXPECT_TRUE((GetFileAttributesW(fresh.c_str()) & FILE_ATTRIBUTE_READONLY) != 0);
    SetFileAttributesW(fresh.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(AtomicWrite, goes_on_after_short_and_interrupted_writes) {
    int call = 0;
    std::string written;
    const Fakes::Replacement write(Fakes::_write, [&](int, const void* bytes, unsigned length) {
        const int transient[] = {EINTR, EAGAIN, EWOULDBLOCK};
        if (call++ < 3) {
            errno = transient[call - 1];
            return -1;
        }
        written.append(static_cast<const char*>(bytes), std::min(length, 2U));
        return static_cast<int>(std::min(length, 2U));
    });
    EXPECT_FALSE(Config::write_atomically(target, "abcde", 0644));
    EXPECT_EQ(written, "abcde");
    EXPECT_EQ(call, 6);
}

TEST_F(AtomicWrite, loses_nothing_when_a_call_fails) {
    {
        const Fakes::Replacement write(Fakes::_write, [](auto...) {
            errno = ENOSPC;
            return -1;
        });
        EXPECT_EQ(Config::write_atomically(target, "new", 0644), std::errc::no_space_on_device);
        expect_nothing_lost();
    }
    {
        const Fakes::Replacement close(Fakes::_close, [](int file) {
            (*Fakes::_close.original)(file);
            errno = EIO;
            return -1;
        });
        EXPECT_EQ(Config::write_atomically(target, "new", 0644), std::errc::io_error);
        expect_nothing_lost();
    }
    {
        const Fakes::Replacement move(Fakes::MoveFileExW, [](LPCWSTR, LPCWSTR, DWORD flags) {
            EXPECT_EQ(flags, static_cast<DWORD>(MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED));
            SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        });
        const auto error = Config::write_atomically(target, "new", 0644);
        EXPECT_EQ(error.value(), ERROR_ACCESS_DENIED);
        EXPECT_EQ(error.message(), "Access denied.");
        expect_nothing_lost();
    }
    EXPECT_EQ(Config::write_atomically(folder.path() / L"missing" / L"file", "new", 0644),
              std::errc::no_such_file_or_directory);
}

TEST(Read, returns_every_byte_or_says_which_file_it_cannot_read_and_why) {
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
    const Fakes::Replacement read(Fakes::_read, [](auto...) {
        errno = EIO;
        return -1;
    });
    try {
        Config::read(path);
        FAIL() << "read";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.what(), "read: " + path.string() + ": Input/output error");
    }
}

} // namespace
