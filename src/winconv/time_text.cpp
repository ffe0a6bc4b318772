#include "winconv/time_text.h"

#include <fmt/format.h>

namespace WinConv {

std::string utc_text(std::chrono::sys_time<Ticks> time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss<Ticks> clock(time - day);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:07}", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), clock.hours().count(),
                       clock.minutes().count(), clock.seconds().count(), clock.subseconds().count());
}

} // namespace WinConv
