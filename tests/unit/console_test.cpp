#include "console/console.h"

#include "support/unit_test.h"

TEST(Console, gets_utf_16_and_a_file_or_pipe_utf_8_each_stream_by_itself) {
    const auto output = reinterpret_cast<HANDLE>(1);
    const auto error = reinterpret_cast<HANDLE>(2);
    HANDLE console = output;
    std::vector<std::string> written;
    const Fakes::Replacement handle(Fakes::GetStdHandle, [&](DWORD stream) { return stream == STD_OUTPUT_HANDLE ? output : error; });
    const Fakes::Replacement mode(Fakes::GetConsoleMode, [&](HANDLE asked, auto) { return asked == console ? TRUE : FALSE; });
    const Fakes::Replacement show(Fakes::WriteConsoleW, [&](HANDLE to, const void* text, DWORD length, auto...) {
        const std::wstring wide(static_cast<const wchar_t*>(text), length);
        written.push_back(fmt::format("console {} {}", to == output ? 1 : 2, std::filesystem::path(wide).string()));
        return FALSE; // which is ignored
    });
    const Fakes::Replacement write(
        Fakes::_write, [&](int to, const void* text, unsigned length) { return written.push_back(fmt::format("file {} {}", to, std::string_view(static_cast<const char*>(text), length))), -1; });
    Console::print("{}\n", "ü\xFF€");
    Console::print_error("{}\n", "ü\xFF€");
    EXPECT_TRUE(Console::output_is_console());
    console = error;
    EXPECT_FALSE(Console::output_is_console());
    Console::write_error("x");
    EXPECT_EQ(written, (decltype(written){"console 1 ü\uFFFD€\n", "file 2 ü\uFFFD€\n", "console 2 x"}));
}
