#include "system_win32/detectors/architecture.h"

#include "logger/log.h"
#include "system_win32/detectors/libraries.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace System {

namespace {

struct Machine {
    std::uint16_t code;
    WORD processor;
    const char* name;
};

constexpr WORD processor_arm64 = 12;
constexpr std::uint16_t machine_arm64 = 0xAA64;

constexpr std::array<Machine, 5> machines = {{
    {IMAGE_FILE_MACHINE_I386, PROCESSOR_ARCHITECTURE_INTEL, "x86"},
    {IMAGE_FILE_MACHINE_ARM, PROCESSOR_ARCHITECTURE_ARM, "arm"},
    {IMAGE_FILE_MACHINE_IA64, PROCESSOR_ARCHITECTURE_IA64, "ia64"},
    {IMAGE_FILE_MACHINE_AMD64, PROCESSOR_ARCHITECTURE_AMD64, "x64"},
    {machine_arm64, processor_arm64, "arm64"},
}};

// Returns the IMAGE_FILE_MACHINE_ constant of a processor architecture in SYSTEM_INFO, 0 if unknown.
std::uint16_t machine_of_processor(std::uint16_t processor) {
    const auto found = std::ranges::find(machines, processor, &Machine::processor);
    return found == machines.end() ? std::uint16_t{0} : found->code;
}

// Returns the name of an IMAGE_FILE_MACHINE_ constant, null if unknown.
const char* architecture_name(std::uint16_t machine) {
    const auto found = std::ranges::find(machines, machine, &Machine::code);
    return found == machines.end() ? nullptr : found->name;
}

} // namespace

std::uint16_t native_machine() {
    if (is_wow64_process2.address != nullptr) {
        USHORT process = 0;
        USHORT native = 0;
        if (is_wow64_process2.as<BOOL WINAPI(HANDLE, USHORT*, USHORT*)>()(GetCurrentProcess(), &process, &native) !=
            0) {
            return native;
        }
    }
    SYSTEM_INFO info{};
    GetNativeSystemInfo(&info);
    return machine_of_processor(info.wProcessorArchitecture);
}

std::string detect_native_arch() {
    const std::uint16_t code = native_machine();
    const char* name = architecture_name(code);
    if (name == nullptr) {
        LOG_WARNING(Logger::main,
                    "Assuming native architecture is same as agent architecture due to unknown machine architecture "
                    "{:#x}",
                    code);
        name = "x86_64";
    }
    LOG_INFO(Logger::main, "Host architecture: {}", name);
    return name;
}

} // namespace System
