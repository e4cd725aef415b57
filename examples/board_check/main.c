/* SPDX-License-Identifier: MIT */
/*
 * board_check: a whole diagnostic program, written as a test engineer would for the sample board of the
 * simulator. It reads and writes each device, checks what it holds, prints a verdict line for each check and
 * ends with status 1 if one of them failed.
 *
 *   board_check [FOLDER [BROKER]]
 *
 * FOLDER is where the FIFOs of the tools are made (default: /tmp). BROKER is the XML configuration of the bus
 * broker; without it the devices are not reached through the broker.
 */
#include <boarddiag.h>

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "broker.h"
#include "checks.h"

char pipe_path[4096];

static const struct check *const tables[] = {i2c_checks,  ipmi_checks, register_checks,
                                             fpga_checks, tree_checks, NULL};
static const struct check *const broker_tables[] = {broker_checks, broker_fpga_checks, NULL};

static bool run_checks(const struct check *checks)
{
    bool passed = true;

    for (const struct check *check = checks; check->name != NULL; check++) {
        const bool good = check->run();

        print_test_result(check->name, !good);
        passed = passed && good;
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

int main(int argc, char **argv)
{
    int arch = 0;

    snprintf(pipe_path, sizeof pipe_path, "%s/board_check_%d", argc > 1 ? argv[1] : "/tmp", (int)getpid());
    diag_system_init("board_check");
    if (get_cpu_arch(&arch) == 0) {
        diag_print(0, "host processor: %s\n", arch == CPU_ARCH_X86 ? "x86" : "Arm");
    }
    if (is_stopped()) {
        return EXIT_FAILURE;
    }
    bool passed = run_tables(tables);
    if (argc > 2) {
        const bool started = start_broker_client(argv[2]);

        print_test_result("broker client", !started);
        passed = started && run_tables(broker_tables) && passed;
    }
    return passed ? EXIT_SUCCESS : EXIT_FAILURE;
}
