/* SPDX-License-Identifier: MIT */
// What an access costs beside its tool.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boarddiag.h>

#include "bench/measure.h"

namespace {

constexpr int accesses = 50; // a call

std::string pipe_path;
std::array<uint8_t, 4> data;

void check(bool good, const char *what)
{
    if (!good) {
        fprintf(stderr, "bench: %s failed\n", what);
        exit(1);
    }
}

void library_read()
{
    check(i2ctool_get("3", 0x50, 0x10, &reg8_data8, 4, pipe_path.c_str(), data.data()) == 0, "i2ctool_get");
}

// The frame as one would write it by hand.
void hand_written_read()
{
    char command[2048];

    check(mkfifo(pipe_path.c_str(), 0666) == 0, "mkfifo");
    const int fd = open(pipe_path.c_str(), O_RDWR);
    snprintf(command, sizeof command,
             "i2ctool --read --bus=3 --addr=0x50 --count=4 --pipe=%s --width=8 --reg=0x10",
             pipe_path.c_str());
    check(system(command) == 0, "system");
    check(read(fd, data.data(), data.size()) == 4, "read");
    close(fd);
    unlink(pipe_path.c_str());
}

// The tool alone: started and waited for with the same arguments, its answer written into a FIFO that stays.
int kept_fifo;

void bare_tool()
{
    static std::string pipe_option = "--pipe=" + pipe_path + ".kept";
    static char words[][16] = {"i2ctool",   "--read",    "--bus=3",   "--addr=0x50",
                               "--count=4", "--width=8", "--reg=0x10"};
    char *const argv[] = {words[0],           words[1], words[2], words[3], words[4],
                          pipe_option.data(), words[5], words[6], nullptr};
    pid_t pid = 0;
    int status = 0;

    check(posix_spawnp(&pid, words[0], nullptr, nullptr, argv, environ) == 0, "posix_spawnp");
    waitpid(pid, &status, 0);
    check(status == 0, "the tool");
}

// Both sides run on one processor: where each tool happens to start would count for more than what is
// compared.
bool make_kept_fifo()
{
    bench::pin(0);
    const std::string path = pipe_path + ".kept";
    check(mkfifo(path.c_str(), 0666) == 0, "mkfifo");
    kept_fifo = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    return kept_fifo >= 0;
}

void library_ipmi()
{
    check(ipmitool2_get(0x06, 0x01, 0, nullptr, 4, data.data()) == 0, "ipmitool2_get");
}

void hand_written_ipmi()
{
    char line[500];
    FILE *output = popen("ipmitool raw 0x06 0x01 ", "r");

    check(output != nullptr && fgets(line, sizeof line, output) != nullptr, "popen");
    for (size_t i = 0; i < data.size(); i++) {
        data[i] = static_cast<uint8_t>(strtol(line + 1 + 3 * i, nullptr, 16));
    }
    pclose(output);
}

std::function<double()> repeated(void (*access)())
{
    return [access] {
        return bench::seconds([access] {
            for (int i = 0; i < accesses; i++) {
                access();
            }
        });
    };
}

// Its answers are taken while the clock stands still, so that each run finds an empty FIFO, as behind the
// library.
double bare_tools()
{
    double taken = 0;

    for (int i = 0; i < accesses; i++) {
        taken += bench::seconds(bare_tool);
        check(read(kept_fifo, data.data(), data.size()) == 4, "the tool's answer");
    }
    return taken;
}

// The same reads while the process has a large heap, which is touched before the clock starts.
constexpr size_t heap_size = size_t{1} << 30;

double read_with_heap()
{
    void *heap = mmap(nullptr, heap_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);

    check(heap != MAP_FAILED, "mmap");
    memset(heap, 1, heap_size);
    const double taken = repeated(library_read)();
    munmap(heap, heap_size);
    return taken;
}

} // namespace

std::vector<bench::figure> bench::access_figures(const std::string &tool_folder)
{
    pipe_path = tool_folder + "/answer";
    setenv("PATH", (tool_folder + ":" + getenv("PATH")).c_str(), 1);
    return {
        {"i2ctool_get, small static tool", "hand-written FIFO frame with system()", bound::at_most, 0.45,
         repeated(library_read), repeated(hand_written_read)},
        {"i2ctool_get, same tool", "posix_spawnp and waitpid of the tool alone", bound::at_most, 1.15,
         repeated(library_read), bare_tools, make_kept_fifo},
        {"i2ctool_get with 1 GiB of touched heap", "the same with a small heap", bound::at_most, 1.3,
         read_with_heap, repeated(library_read)},
        {"ipmitool2_get, small static tool", "popen, fgets, pclose by hand", bound::at_most, 0.55,
         repeated(library_ipmi), repeated(hand_written_ipmi)},
    };
}
