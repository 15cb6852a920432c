#include "base/Clock.h"

#include <chrono>
#include <ctime>
#include <optional>

namespace {
std::optional<TDateTime>& FixedClock() {
    static std::optional<TDateTime> fixed;
    return fixed;
}
}  // namespace

TDateTime Now() {
    if (FixedClock()) return *FixedClock();
    auto now = std::chrono::system_clock::now();
    std::time_t t = std::chrono::system_clock::to_time_t(now);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
              1000;
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &t);
#else
    localtime_r(&t, &local);
#endif
    return EncodeDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) +
           EncodeTime(local.tm_hour, local.tm_min, local.tm_sec, static_cast<int>(ms));
}

TDateTime Date() { return DateOf(Now()); }

void SetClock(TDateTime dt) { FixedClock() = dt; }
void ResetClock() { FixedClock().reset(); }
bool ClockIsSet() { return FixedClock().has_value(); }
