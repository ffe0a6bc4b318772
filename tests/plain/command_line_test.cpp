#include "main/command_line.h"

#include "winconv/convert.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <shellapi.h>

#include <random>

TEST(CommandLine, is_split_as_the_system_splits_it) {
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        const std::wstring characters = round % 4 < 2 ? L"a\u20ac\"\\  \t" : L"a\u20ac'\\  \t";
        std::wstring line = round % 2 == 0 ? L"\"C:\\Program Files\\corvelctl.exe\"" : L"corvelctl ";
        for (unsigned length = random() % 20; length > 0; --length) {
            line += characters[random() % characters.size()];
        }
        int count = 0;
        LPWSTR* const wide = CommandLineToArgvW(line.c_str(), &count);
        std::vector<std::string> arguments;
        std::transform(wide + 1, wide + count, std::back_inserter(arguments), WinConv::native_to_utf8);
        LocalFree(wide);
        EXPECT_EQ(CommandLine::split(line.c_str()), arguments) << WinConv::native_to_utf8(line);
    }
}
