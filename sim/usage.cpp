/* SPDX-License-Identifier: MIT */
#include "usage.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace boardsim {

namespace {

constexpr std::string_view program = "boardsim";

/// Nothing in the lines is to be typed but what is meant so: no brackets round what may be left out.
struct usage {
    std::string_view name;
    const char *purpose; // goes on behind the name
    const char *lines;   // what to type, one form a line
    const char *notes;   // what the words in capitals stand for, and what may be added
};

constexpr char number_notes[] =
    "0xHH is two lower-case hexadecimal digits, 0xHHHH four; 0xH as few as the number needs. N is a decimal\n"
    "number. FIFO is the path of a FIFO that a reader has open. Options behind the first may stand in any "
    "order.";

constexpr usage usages[] = {
    {program, "stands in for a board's device tools, on the board in the folder that BOARDSIM_DIR names.",
     "  boardsim init FOLDER\n"
     "  boardsim broker OPTION...\n"
     "  boardsim TOOL ARGUMENT...\n"
     "  boardsim help\n"
     "  boardsim help WORD\n"
     "  boardsim --version",
     "TOOL is one of the tools below, which may be called by their own names as well. WORD is a tool, init "
     "or\n"
     "broker; --help behind any of these words tells the same."},
    {"boardsim init", "makes FOLDER a sample board.",
     "  boardsim init FOLDER\n"
     "  boardsim init --force FOLDER",
     "Without --force the folder must be empty, or not there."},
    {"boardsim broker", "answers bus broker requests over UDP, until SIGTERM or SIGINT.",
     "  boardsim broker OPTION...",
     "It prints \"port N\" when it is ready. Each option may be left out:\n"
     "  --ip=ADDRESS           an address of this host's loopback network; 127.0.0.1 otherwise\n"
     "  --port=N               0, as without it: any free port\n"
     "  --seed=N               of the dice that decide which answers suffer\n"
     "  --lose=PERCENT         of the answers are lost; and in the same way\n"
     "  --double=PERCENT --reorder=PERCENT --damage=PERCENT --split=PERCENT --join=PERCENT "
     "--ack-first=PERCENT\n"
     "  --delay=PERCENT:MS     of the answers are that many milliseconds late\n"
     "  --late=MS              every answer is late\n"
     "  --refuse=N             the first N requests are refused\n"
     "  --refuse-type=TYPE:N   the first N of that type; more pairs behind commas\n"
     "  --refuse-word=WORD     the word that refuses; Busy otherwise\n"
     "  --not-found            requests of type 0 are answered so\n"
     "  --silent               no request is answered\n"
     "  --silent-after=N       the first N requests alone are answered\n"
     "  --max-requests=N       the broker ends after N good requests\n"
     "  --dyn-id=0xHHHH:NAME   the identifier of a number; more pairs behind commas"},
    {"gpiotool", "reads and drives the board's GPIO pins.",
     "  gpiotool --get --chip=N --pin=N --pipe=FIFO\n"
     "  gpiotool --set --chip=N --pin=N --val=N",
     "To --set may be added: --busbroker_req."},
    {"i2ctool", "reads and writes the board's I2C devices.",
     "  i2ctool --read --bus=BUS --addr=0xHH --count=N --pipe=FIFO --width=WIDTH REGISTER\n"
     "  i2ctool --write --bus=BUS --addr=0xHH --width=WIDTH REGISTER --val=0xHH,...\n"
     "  i2ctool --no_data --bus=BUS --addr=0xHH",
     "WIDTH is 8 or 16. REGISTER is one of --reg=0xHH, --reg16=0xHHHH and --regblock=0xHH, which is\n"
     "--regblock=0xHHHH in a write. To --read and --write may be added: --no_control, --reg_le; to --write\n"
     "also: --busbroker_req, --flag=pec or --flag= with nothing. An empty --val= writes nothing."},
    {"ipmitool", "sends raw requests to the board's management controller.",
     "  ipmitool raw NETFN COMMAND\n"
     "  ipmitool raw NETFN COMMAND DATA...",
     "Each byte is 0xHH, or each is 0xH; those of network function 0x3a are 0xHH only."},
    {"lpctool", "reads and writes the board's LPC registers, the FPGA's mailbox among them.",
     "  lpctool --get --addr=0xHHHHHHHH --size=SIZE --count=N --pipe=FIFO\n"
     "  lpctool --write --addr=0xHHHHHHHH --size=SIZE --val=0xH,...",
     "SIZE is b, w or l. To --write may be added: --busbroker_req. An empty --val= writes nothing."},
    {"memtool", "reads and writes the board's physical memory.",
     "  memtool --get --addr=0xHHHHHHHH --count=N --width=WIDTH --pipe=FIFO\n"
     "  memtool --write --addr=0xHHHHHHHH --width=WIDTH --val=0xH,...",
     "WIDTH is 8, 16, 32 or 64. To --get may be added: --be; to --write: --busbroker. An empty --val= "
     "writes\n"
     "nothing."},
    {"nvramtool", "reads the board's NVRAM record.", "  nvramtool --query --pipe=FIFO",
     "May be added: --busbroker."},
    {"pcitool", "reads and writes the configuration space of the board's PCI functions.",
     "  pcitool --get --bus=N --dev=N --func=N --offset=0xHH --pipe=FIFO --count=N --width=WIDTH\n"
     "  pcitool --write --bus=0xHH --dev=0xHH --func=0xHH --offset=0xHH --val=0xHH,...",
     "WIDTH is 8, 16 or 32. Numbers in 0xHH, the values apart, may have more digits when they need them. To\n"
     "--write may be added: --busbroker_req and --width=WIDTH together. An empty --val= writes nothing."},
};

const usage *find_usage(std::string_view name)
{
    const std::string command = std::string(program) + ' ' + std::string(name);
    const auto at =
        std::ranges::find_if(usages, [&](const usage &u) { return u.name == name || u.name == command; });
    return at == std::end(usages) ? nullptr : &*at;
}

void print(const usage &u)
{
    printf("%.*s %s\n\n%s\n\n%s\n\n", static_cast<int>(u.name.size()), u.name.data(), u.purpose, u.lines,
           u.notes);
}

} // namespace

bool print_help(std::string_view name)
{
    const usage *wanted = find_usage(name);
    if (wanted == nullptr) {
        return false;
    }
    const bool is_program = name == program;
    for (const usage &u : usages) {
        if (is_program || &u == wanted) {
            print(u);
        }
    }
    if (is_program || !wanted->name.starts_with(program)) {
        puts(number_notes);
    }
    return true;
}

bool is_answered(std::string_view name, std::span<const char *const> args)
{
    const std::string_view wish = args.empty() ? "" : args[0];
    if (wish == "--version") {
        printf("%.*s %s (the simulated board of boarddiag)\n", static_cast<int>(name.size()), name.data(),
               BOARDSIM_VERSION);
        return true;
    }
    return wish == "--help" && print_help(name);
}

} // namespace boardsim
