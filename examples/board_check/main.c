/* SPDX-License-Identifier: MIT */
/*
 * board_check: a whole diagnostic program, written as a test engineer would for the sample board of the
 * simulator. It reads and writes each device, checks what it holds, prints a verdict line for each check,
 * with the reason behind a failed one, and ends with status 1 if one of them failed.
 *
 *   board_check
 *   board_check FOLDER
 *   board_check FOLDER BROKER
 *
 * FOLDER is where the FIFOs of the tools are made, /tmp when not given. BROKER is the XML configuration of
 * the bus broker; without it the devices are not reached through the broker. --help shows these lines.
 */
#include <boarddiag.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "broker.h"
#include "checks.h"

char pipe_path[4096];

static const struct check *const tables[] = {i2c_checks,  ipmi_checks, register_checks,
                                             fpga_checks, tree_checks, NULL};
static const struct check *const broker_tables[] = {broker_checks, broker_fpga_checks, NULL};

static char known_reason[4096]; /* as the library told it when the last check ended */

static void note_reason(void)
{
    snprintf(known_reason, sizeof known_reason, "%s", diag_reason());
}

/* Prints the verdict on a check, and of a failed one why. A call that succeeds leaves the library's reason as
 * it was: where it is no other than before the check, no call failed, or one as it did above. */
static bool judge(const char *name, bool good)
{
    const char *reason = diag_reason();

    print_test_result(name, !good);
    if (!good) {
        diag_print(0, "  reason: %s\n",
                   strcmp(reason, known_reason) != 0 ? reason : "other bytes than expected, or as above");
    }
    note_reason();
    return good;
}

static bool run_checks(const struct check *checks)
{
    bool passed = true;

    for (const struct check *check = checks; check->name != NULL; check++) {
        passed = judge(check->name, check->run()) && passed;
    }
    return passed;
}

static bool run_tables(const struct check *const *all)
{
    bool passed = true;

    for (; *all != NULL; all++) {
        passed = run_checks(*all) && passed;
    }
    return passed;
}

/* Gives the operator the chance to stop before the devices are touched. */
static bool is_stopped(void)
{
    if (!isatty(STDIN_FILENO)) {
        return false;
    }
    diag_print(0, "press a key to stop\n");
    return wait_key_pressed(1) != -1;
}

static int show_usage(FILE *stream, int status)
{
    fputs("board_check\nboard_check FOLDER\nboard_check FOLDER BROKER\n", stream);
    return status;
}

int main(int argc, char **argv)
{
    int arch = 0;

    if (argc > 1 && strcmp(argv[1], "--help") == 0) {
        return show_usage(stdout, EXIT_SUCCESS);
    }
    if (argc > 3 || (argc > 1 && argv[1][0] == '-')) {
        return show_usage(stderr, 2);
    }

    snprintf(pipe_path, sizeof pipe_path, "%s/board_check_%d", argc > 1 ? argv[1] : "/tmp", (int)getpid());
    diag_system_init("board_check");
    if (get_cpu_arch(&arch) == 0) {
        diag_print(0, "host processor: %s\n", arch == CPU_ARCH_X86 ? "x86" : "Arm");
    }
    note_reason();
    if (is_stopped()) {
        return EXIT_FAILURE;
    }
    bool passed = run_tables(tables);
    if (argc > 2) {
        passed = judge("broker client", start_broker_client(argv[2])) && run_tables(broker_tables) && passed;
    }
    return passed ? EXIT_SUCCESS : EXIT_FAILURE;
}
