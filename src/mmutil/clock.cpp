// The clock that written files take their date and time from. Tests pin it so that whole
// files with a date line can be compared byte for byte.
#include <ctime>

#include "teska/mmutil.h"

namespace mmutil {

namespace {

bool clock_is_pinned = false;
std::time_t pinned_time = 0;

}  // namespace

void pin_clock(std::time_t t) {
    clock_is_pinned = true;
    pinned_time = t;
}

void unpin_clock() { clock_is_pinned = false; }

std::tm local_now() {
    const std::time_t now = clock_is_pinned ? pinned_time : std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local;
}

std::string get_now_date_time() {
    const std::tm local = local_now();
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

}  // namespace mmutil
