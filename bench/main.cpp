/* SPDX-License-Identifier: MIT */
// Prints each figure beside its reference, as the ratio of the two in the same run, and says which targets it
// misses. The table goes to standard output; --csv=FILE also writes it for the picture.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <boarddiag.h>

#include "bench/measure.h"

namespace fs = std::filesystem;

namespace {

constexpr int default_rounds = 21;

// A folder with the benchmark's tool under the names that the wrappers run.
std::string make_tool_folder()
{
    char name[] = "/tmp/boarddiag-bench-XXXXXX";
    const std::string folder = mkdtemp(name);

    for (const char *tool : {"i2ctool", "ipmitool"}) {
        fs::create_symlink(BENCH_TOOL, folder + "/" + tool);
    }
    return folder;
}

bool meets(const bench::figure &what, double ratio)
{
    return what.kind == bench::bound::at_most ? ratio <= what.target : ratio >= what.target;
}

// Prints the figure's row; false when it misses its target.
bool print_row(FILE *csv, const bench::figure &what, const bench::outcome &found)
{
    const bool met = meets(what, found.median);
    const char *sign = what.kind == bench::bound::at_most ? "<=" : ">=";

    printf("%-52s %-46s %6.2f [%5.2f .. %5.2f]  %s %4.2f  %s\n", what.name.c_str(),
           what.reference_name.c_str(), found.median, found.low, found.high, sign, what.target,
           met ? "met" : "MISSED");
    if (csv != nullptr) {
        fprintf(csv, "%s;%s;%.4f;%.4f;%.4f;%s;%.2f;%s\n", what.name.c_str(), what.reference_name.c_str(),
                found.median, found.low, found.high, sign, what.target, met ? "met" : "missed");
    }
    return met;
}

bool run_figure(FILE *csv, const bench::figure &what, int rounds)
{
    if (what.begin && !what.begin()) {
        printf("%-52s could not be measured here\n", what.name.c_str());
        return false;
    }
    const bool met = print_row(csv, what, bench::measure(what, rounds));
    if (what.end) {
        what.end();
    }
    return met;
}

// Each figure has a process of its own: a client's threads live as long as their process.
bool run_apart(FILE *csv, const bench::figure &what, int rounds)
{
    int status = 0;

    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const bool met = run_figure(csv, what, rounds);
        fflush(nullptr);
        _exit(met ? 0 : 1);
    }
    waitpid(child, &status, 0);
    return status == 0;
}

int run(FILE *csv, const std::vector<bench::figure> &figures, const char *only, int rounds)
{
    int missed = 0;

    for (const bench::figure &what : figures) {
        if (only == nullptr || what.name.find(only) != std::string::npos) {
            missed += run_apart(csv, what, rounds) ? 0 : 1;
        }
    }
    return missed;
}

const char *option(int argc, char **argv, const char *name)
{
    for (int i = 1; i < argc; i++) {
        if (strncmp(argv[i], name, strlen(name)) == 0) {
            return argv[i] + strlen(name);
        }
    }
    return nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    const char *csv_path = option(argc, argv, "--csv=");
    const char *only = option(argc, argv, "--only=");
    const char *rounds = option(argc, argv, "--rounds=");
    FILE *csv = csv_path != nullptr ? fopen(csv_path, "w") : nullptr;
    const std::string folder = make_tool_folder();
    int missed = 0;

    set_verb_level(-1);
    set_log_level(-1);
    printf("%-52s %-46s %6s %18s %8s\n", "figure", "reference in the same run", "ratio", "[quartiles]",
           "target");
    for (const auto &figures : {bench::access_figures(folder), bench::core_figures(), bench::broker_figures(),
                                bench::tree_figures()}) {
        missed += run(csv, figures, only, rounds != nullptr ? atoi(rounds) : default_rounds);
    }
    fs::remove_all(folder);
    if (csv != nullptr) {
        fclose(csv);
    }
    printf("%d of the targets missed\n", missed);
    return 0;
}
