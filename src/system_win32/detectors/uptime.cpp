#include "system_win32/detectors/uptime.h"

#include "logger/log.h"
#include "winconv/time_text.h"

#include <windows.h>

#include <chrono>

namespace System {

std::string detect_up_since() {
    const auto now = std::chrono::time_point_cast<WinConv::Ticks>(std::chrono::system_clock::now());
    std::string text = WinConv::utc_text(now - std::chrono::milliseconds(GetTickCount64()));
    LOG_INFO(Logger::main, "Restart time: {}", text);
    return text;
}

} // namespace System
