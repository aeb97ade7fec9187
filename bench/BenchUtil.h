#pragma once
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <vector>

// Median of the wall times of runs of body, in milliseconds.
template <class F>
double MedianMs(int runs, F&& body) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        body();
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// CPU time of the whole process so far (user and system), in seconds.
inline double CpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}
