/* SPDX-License-Identifier: MIT */
// The measuring frame: each figure beside its reference, in turns, in the same run.
#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <functional>
#include <string>
#include <vector>

namespace bench {

enum class bound { at_most, at_least, none };

/// One figure. `subject` and `reference` each do the same amount of work once per call and return the seconds
/// that it took; what is reported is subject / reference, or its inverse for a throughput (at_least). One
/// without a bound has no target: it tells what a figure above it is made of.
struct figure {
    std::string name;
    std::string reference_name;
    bound kind;
    double target;
    std::function<double()> subject;
    std::function<double()> reference;
    std::function<bool()> begin = {}; // readies the figure; false: it cannot be measured here
    std::function<void()> end = {};
};

/// The outcome of one figure over all rounds.
struct outcome {
    double median, low, high;  // ratio: median and quartiles over the rounds
    double subject, reference; // median seconds
};

/// Seconds of monotonic time that `work` takes.
double seconds(const std::function<void()> &work);

/// Runs `rounds` rounds of the figure, subject and reference in shuffled order within each round.
outcome measure(const figure &what, int rounds);

/// Pins the calling thread to one processor; a negative number lets it run on all that the process started
/// with.
void pin(int processor);

// The figures, one function a file.
std::vector<figure> access_figures(const std::string &tool_folder);
std::vector<figure> broker_figures();
std::vector<figure> core_figures();
std::vector<figure> tree_figures();

} // namespace bench

#endif
