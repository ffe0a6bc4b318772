#include "console/console.h"

#include "support/unit_test.h"

TEST(Console, gets_utf_16_and_a_file_or_pipe_utf_8_each_stream_by_itself) {
    const auto output = reinterpret_cast<HANDLE>(1);
    const auto error = reinterpret_cast<HANDLE>(2);
    HANDLE console = output;
    std::vector<std::pair<HANDLE, std::wstring>> shown;
    std::vector<std::pair<int, std::string>> written;
    const Fakes::Replacement handle(Fakes::GetStdHandle, [&](DWORD stream) { return stream == STD_OUTPUT_HANDLE ? output : error; });
    const Fakes::Replacement mode(Fakes::GetConsoleMode, [&](HANDLE asked, auto) { return asked == console ? TRUE : FALSE; });
    const Fakes::Replacement show(Fakes::WriteConsoleW, [&](HANDLE to, const void* text, DWORD length, auto...) {
        shown.emplace_back(to, std::wstring(static_cast<const wchar_t*>(text), length));
        return FALSE; // which is ignored
    });
    const Fakes::Replacement write(Fakes::_write, [&](int to, const void* text, unsigned length) {
        written.emplace_back(to, std::string(static_cast<const char*>(text), length));
        return -1;
    });
    Console::print("{}\n", "ü\xFF€");
    Console::print_error("{}\n", "ü\xFF€");
    EXPECT_TRUE(Console::output_is_console());
    console = error;
    EXPECT_FALSE(Console::output_is_console());
    Console::write_error("x");
    EXPECT_EQ(shown, (decltype(shown){{output, L"ü\uFFFD€\n"}, {error, L"x"}}));
    EXPECT_EQ(written, (decltype(written){{2, "ü\uFFFD€\n"}}));
}
