#pragma once
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <utility>
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

// Medians of a and b timed in turn, so that both see the same load of a shared machine.
template <class A, class B>
std::pair<double, double> MedianMsInTurn(int runs, A&& a, B&& b) {
    std::vector<double> ta, tb;
    for (int i = 0; i < runs; ++i) {
        ta.push_back(MedianMs(1, a));
        tb.push_back(MedianMs(1, b));
    }
    std::sort(ta.begin(), ta.end());
    std::sort(tb.begin(), tb.end());
    return {ta[runs / 2], tb[runs / 2]};
}

// CPU time of the whole process so far (user and system), in seconds.
inline double CpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}
