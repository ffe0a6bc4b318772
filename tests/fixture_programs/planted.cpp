// A library that somebody put where a program may look for one of the system's: once it is loaded, it appends its own
// path to the file that the variable PLANTED_RECORD names.

#include <windows.h>

#include <cstdio>
#include <cstdlib>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        char path[MAX_PATH]{};
        GetModuleFileNameA(module, path, MAX_PATH);
        if (std::FILE* const record = std::fopen(std::getenv("PLANTED_RECORD"), "ab")) {
            std::fprintf(record, "%s\n", path);
            std::fclose(record);
        }
    }
    return TRUE;
}
