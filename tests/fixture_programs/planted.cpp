// A library that somebody put where a program may look for one of the system's: once it is loaded, it appends its own
// path to the file that the variable PLANTED_RECORD names.

#include <windows.h>

#include <array>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        std::array<char, MAX_PATH> record{};
        std::array<char, MAX_PATH + 1> line{};
        GetEnvironmentVariableA("PLANTED_RECORD", record.data(), MAX_PATH);
        const DWORD length = GetModuleFileNameA(module, line.data(), MAX_PATH);
        line[length] = '\n';
        HANDLE file = CreateFileA(record.data(), FILE_APPEND_DATA, FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr);
        DWORD written = 0;
        WriteFile(file, line.data(), length + 1, &written, nullptr);
        CloseHandle(file);
    }
    return TRUE;
}
