#include "platform/Foundation/HostStatistics.h"

#include <sys/sysinfo.h>

namespace tessaly {

std::optional<HostStatistics> HostStatistics::current() {
    struct sysinfo info {};
    if (::sysinfo(&info) != 0) return std::nullopt;
    HostStatistics statistics;
    statistics.free = std::uint64_t{info.freeram} * info.mem_unit;
    statistics.used = std::uint64_t{info.totalram} * info.mem_unit - statistics.free;
    return statistics;
}

}  // namespace tessaly
