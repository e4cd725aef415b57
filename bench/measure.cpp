/* SPDX-License-Identifier: MIT */
#include "bench/measure.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <sched.h>

namespace {

double quantile(std::vector<double> values, double q)
{
    std::sort(values.begin(), values.end());
    const double at = q * static_cast<double>(values.size() - 1);
    const auto below = static_cast<size_t>(at);
    const size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (values[above] - values[below]) * (at - static_cast<double>(below));
}

const cpu_set_t &all_processors()
{
    static const cpu_set_t set = [] {
        cpu_set_t found;
        sched_getaffinity(0, sizeof found, &found);
        return found;
    }();
    return set;
}

} // namespace

namespace bench {

double seconds(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

outcome measure(const figure &what, int rounds)
{
    std::minstd_rand random(20260101);
    std::vector<double> ratios, subjects, references;

    what.subject(); // warm up both
    what.reference();
    for (int round = 0; round < rounds; round++) {
        double subject = 0, reference = 0;
        if (random() % 2 == 0) {
            subject = what.subject();
            reference = what.reference();
        } else {
            reference = what.reference();
            subject = what.subject();
        }
        subjects.push_back(subject);
        references.push_back(reference);
        ratios.push_back(what.kind == bound::at_least ? reference / subject : subject / reference);
    }
    return {quantile(ratios, 0.5), quantile(ratios, 0.25), quantile(ratios, 0.75), quantile(subjects, 0.5),
            quantile(references, 0.5)};
}

void pin(int processor)
{
    cpu_set_t set = all_processors();
    if (processor >= 0) {
        CPU_ZERO(&set);
        CPU_SET(static_cast<size_t>(processor), &set);
    }
    sched_setaffinity(0, sizeof set, &set);
}

} // namespace bench
