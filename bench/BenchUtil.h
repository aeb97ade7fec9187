#pragma once
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
