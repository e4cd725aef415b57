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
constexpr int least_rounds = 11; // that quartiles tell something of

// A folder with the benchmark's tool under the names that the wrappers run, and for the FIFOs. It is in
// memory, as a board's /tmp is: a disk's journal would tell of itself.
std::string make_tool_folder()
{
    char name[] = "/dev/shm/boarddiag-bench-XXXXXX";

    if (mkdtemp(name) == nullptr) {
        perror(name);
        exit(1);
    }
    const std::string folder = name;
    for (const char *tool : {"i2ctool", "ipmitool"}) {
        fs::create_symlink(BENCH_TOOL, folder + "/" + tool);
    }
    return folder;
}

bool meets(const bench::figure &what, double ratio)
{
    return what.kind == bench::bound::none ||
           (what.kind == bench::bound::at_most ? ratio <= what.target : ratio >= what.target);
}

// Prints the figure's row; false when it misses its target.
bool print_row(FILE *csv, const bench::figure &what, const bench::outcome &found)
{
    const bool met = meets(what, found.median);
    const char *sign = what.kind == bench::bound::at_most ? "<=" : ">=";

    printf("%-52s %-46s %6.2f [%5.2f .. %5.2f]", what.name.c_str(), what.reference_name.c_str(), found.median,
           found.low, found.high);
    if (what.kind == bench::bound::none) {
        printf("\n");
        return met;
    }
    printf("  %s %4.2f  %s\n", sign, what.target, met ? "met" : "MISSED");
    if (csv != nullptr) {
        fprintf(csv, "%s;%s;%.4f;%.4f;%.4f;%s;%.2f;%s\n", what.name.c_str(), what.reference_name.c_str(),
                found.median, found.low, found.high, sign, what.target, met ? "met" : "missed");
    }
    return met;
}

enum ending { ended_met, ended_missed, ended_unmeasured };
constexpr int first_status = 16; // of the process of a figure; a check that fails ends it with 1

ending run_figure(FILE *csv, const bench::figure &what, int rounds)
{
    if (what.begin && !what.begin()) {
        return ended_unmeasured;
    }
    const bool met = print_row(csv, what, bench::measure(what, rounds));
    if (what.end) {
        what.end();
    }
    return met ? ended_met : ended_missed;
}

// Each figure has a process of its own: a client's threads live as long as their process.
ending run_apart(FILE *csv, const bench::figure &what, int rounds)
{
    int status = 0;

    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const ending end = run_figure(csv, what, rounds);
        fflush(nullptr);
        _exit(first_status + end);
    }
    waitpid(child, &status, 0);
    for (const ending end : {ended_met, ended_missed}) {
        if (WIFEXITED(status) && WEXITSTATUS(status) == first_status + end) {
            return end;
        }
    }
    printf("%-52s could not be measured\n", what.name.c_str());
    return ended_unmeasured;
}

// The size of the library's text has no reference but its target.
ending tell_size(FILE *csv, const char *bytes)
{
    const double size = atof(bytes) / 1024;
    const bench::figure what = {
        "text size of the stripped library, KiB", "", bench::bound::at_most, 96, {}, {}};

    return print_row(csv, what, {size, size, size, 0, 0}) ? ended_met : ended_missed;
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
    const char *text_size = option(argc, argv, "--text-size=");
    const int round_count = rounds != nullptr ? atoi(rounds) : default_rounds;
    int count_of[] = {0, 0, 0};

    if (round_count < least_rounds) {
        fprintf(stderr, "bench: at least %d rounds\n", least_rounds);
        return 2;
    }
    const std::string folder = make_tool_folder();
    set_verb_level(-1);
    set_log_level(-1);
    printf("%-52s %-46s %6s %18s %8s\n", "figure", "reference in the same run", "ratio", "[quartiles]",
           "target");
    for (const auto &figures : {bench::access_figures(folder), bench::core_figures(), bench::broker_figures(),
                                bench::tree_figures()}) {
        for (const bench::figure &what : figures) {
            if (only == nullptr || what.name.find(only) != std::string::npos) {
                count_of[run_apart(csv, what, round_count)]++;
            }
        }
    }
    if (text_size != nullptr && only == nullptr) {
        count_of[tell_size(csv, text_size)]++;
    }
    fs::remove_all(folder);
    if (csv != nullptr) {
        fclose(csv);
    }
    printf("%d of the targets missed\n", count_of[ended_missed]);
    return count_of[ended_unmeasured] == 0 ? 0 : 1;
}
