/* SPDX-License-Identifier: MIT */
#include "core/run_signals.h"

#include <pthread.h>

namespace {

pthread_mutex_t runs_mutex = PTHREAD_MUTEX_INITIALIZER;
int runs; // guarded by runs_mutex, as are the two actions that the first run found
struct sigaction found_int;
struct sigaction found_quit;

// Of the two, those that the program itself does not ignore. The caller holds runs_mutex.
void choose_defaults(const struct sigaction &on_int, const struct sigaction &on_quit, sigset_t *to_default)
{
    sigemptyset(to_default);
    if (on_int.sa_handler != SIG_IGN) {
        sigaddset(to_default, SIGINT);
    }
    if (on_quit.sa_handler != SIG_IGN) {
        sigaddset(to_default, SIGQUIT);
    }
}

} // namespace

void boarddiag::begin_run(run_signals *signals)
{
    struct sigaction ignore = {};
    sigset_t child;

    ignore.sa_handler = SIG_IGN;
    pthread_mutex_lock(&runs_mutex);
    if (runs++ == 0) {
        sigaction(SIGINT, &ignore, &found_int);
        sigaction(SIGQUIT, &ignore, &found_quit);
    }
    choose_defaults(found_int, found_quit, &signals->to_default);
    pthread_mutex_unlock(&runs_mutex);
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &child, &signals->mask);
}

void boarddiag::end_run(const run_signals *signals)
{
    pthread_mutex_lock(&runs_mutex);
    if (--runs == 0) {
        sigaction(SIGINT, &found_int, nullptr);
        sigaction(SIGQUIT, &found_quit, nullptr);
    }
    pthread_mutex_unlock(&runs_mutex);
    pthread_sigmask(SIG_SETMASK, &signals->mask, nullptr);
}

void boarddiag::signals_of_child(run_signals *signals)
{
    struct sigaction on_int = {};
    struct sigaction on_quit = {};

    pthread_mutex_lock(&runs_mutex);
    sigaction(SIGINT, nullptr, &on_int);
    sigaction(SIGQUIT, nullptr, &on_quit);
    const bool is_running = runs > 0;
    choose_defaults(is_running ? found_int : on_int, is_running ? found_quit : on_quit, &signals->to_default);
    pthread_mutex_unlock(&runs_mutex);
    pthread_sigmask(SIG_SETMASK, nullptr, &signals->mask);
}

void boarddiag::restore_signals_of_runs()
{
    if (runs > 0) {
        sigaction(SIGINT, &found_int, nullptr);
        sigaction(SIGQUIT, &found_quit, nullptr);
    }
}
