#include "console/console.h"

#include "fakes/imports.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

TEST(Console, gets_utf_16_and_a_file_or_pipe_utf_8_each_stream_by_itself) {
    const auto output = reinterpret_cast<HANDLE>(1);
    const auto error = reinterpret_cast<HANDLE>(2);
    HANDLE console = output;
    std::map<HANDLE, std::wstring> shown;
    std::map<int, std::string> written;
    const Fakes::Replacement handle(Fakes::GetStdHandle, [&](DWORD stream) {
        EXPECT_TRUE(stream == STD_OUTPUT_HANDLE || stream == STD_ERROR_HANDLE);
        return stream == STD_OUTPUT_HANDLE ? output : error;
    });
    const Fakes::Replacement mode(Fakes::GetConsoleMode, [&](HANDLE asked, DWORD*) { return asked == console ? TRUE : FALSE; });
    const Fakes::Replacement show(Fakes::WriteConsoleW, [&](HANDLE to, const void* text, DWORD length, auto...) {
        shown[to].append(static_cast<const wchar_t*>(text), length);
        return FALSE; // which is ignored
    });
    const Fakes::Replacement write(Fakes::_write, [&](int to, const void* text, unsigned length) {
        written[to].append(static_cast<const char*>(text), length);
        return -1;
    });
    Console::print("{}\n", "ü\xFF€");
    Console::print_error("{}\n", "ü\xFF€");
    EXPECT_TRUE(Console::output_is_console());
    EXPECT_EQ(shown, (std::map<HANDLE, std::wstring>{{output, L"ü\uFFFD€\n"}}));
    EXPECT_EQ(written, (std::map<int, std::string>{{2, "ü\uFFFD€\n"}}));
    console = error;
    EXPECT_FALSE(Console::output_is_console());
    Console::write_error("x");
    Console::write_output("");
    EXPECT_EQ(shown[error], L"x");
}
