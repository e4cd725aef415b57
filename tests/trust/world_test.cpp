/* SPDX-License-Identifier: MIT */
// What goes wrong around a program: each fault of tools, folders and descriptors against each device wrapper.
// It is told, nothing is left or written beyond its place, and the next access is good.
#include <array>
#include <sys/resource.h>

#include "access/calls.h"

constexpr bool emulated = EMULATED; // another processor, by an emulator
constexpr size_t most_bytes = 1068; // of an answer
using answer = std::array<uint8_t, most_bytes + 1>;

enum kind { fifo, plain, text, unanswered }; // by a text of which no byte is wanted

struct wrapper {
    const char *name; // as its reports tell it
    kind answers_by;
    size_t count; // bytes read
    std::function<uint32_t(const char *pipe, uint8_t *data)> call;
    std::string failed;             // what a failed tool is told as; empty: silent
    uint32_t status;                // of a failed tool; 0: the raw one
    std::string create_failed = {}; // % is the path
    std::string open_failed = {};   // told for want of a descriptor
    bool unprefixed = false;        // a failed tool is told without the prefix of error reports
};

// clang-format off
std::vector<wrapper> wrappers()
{
    static constexpr const char *i2c = "FAILED <<<---\nError Reading from I2C\n", *i2c_put = "FAILED <<<---\nError writing to I2C device\n", *i2c_pipe = "Error Creating I2C pipe %", *i2c_open = "Could Not open End of i2c Pipe (%) [/]", *ipmi = "sys cmd exec failed!";
    const reg_info *const r8 = &reg8_data8;
    return {
        {"i2ctool_get", fifo, 2, [=](auto *p, auto *d) { return i2ctool_get("3", 0x50, 0, r8, 2, p, d); }, i2c, 0, i2c_pipe, i2c_open},
        {"i2ctool_get_no_cntrl", fifo, 2, [=](auto *p, auto *d) { return i2ctool_get_no_cntrl("3", 0x50, 0, r8, 2, p, d); }, i2c, 0, i2c_pipe, i2c_open},
        {"gpiotool_get", fifo, 1, [](auto *p, auto *d) { return gpiotool_get(0, 1, p, d); }, "FAILED <<<---\nError Reading from GPIO\n", 0, "Error Creating GPIO pipe", "Could Not open End of GPIO Pipe "},
        {"lpctool_get", fifo, 2, [](auto *p, auto *d) { return lpctool_get(0, 2, 'b', p, d); }, "FAILED <<<---\nError Reading from LPC\n", DIAG_ERR_LPC_ACCESS, "Error Creating LPC pipe", "Could Not open End of LPC Pipe "},
        {"pcitool_get", fifo, 2, [](auto *p, auto *d) { return pcitool_get(0, 31, 0, 0, d, p, 2, 8); }, "", 0, "Error Creating PCI pipe %", "Could Not open End of PCI Pipe (%) [/]"},
        {"memtool_get", fifo, 2, [](auto *p, auto *d) { return memtool_get(0x80000000, 2, 8, p, 0, d); }, "FAILED <<<---\nError Reading from MEM\n", 0, "Error Creating Mem pipe", "Could Not open End of mem Pipe "},
        {"nvramtool_query", fifo, most_bytes, [](auto *p, auto *d) { return nvramtool_query(p, static_cast<nvram_record *>(static_cast<void *>(d)), false); }, "FAILED <<<---\nError Reading from nvram\n", DIAG_ERR_FAILED, "Error Creating I2C pipe", "Could Not open End of i2c Pipe "},
        {"ipmitool_get", text, 2, [=](auto *, auto *d) { return ipmitool_get("0-3", 0x50, 0, r8, 2, nullptr, d); }, "Error reading at offset 0x00\n", minus_one, "", "shell command(ipmitool raw 0x38 0x2 0x3 0x50 0x0 0x2) failed"},
        {"ipmitool2_get", text, 2, [](auto *, auto *d) { const uint8_t of[] = {3, 0x50, 0, 2}; return ipmitool2_get(0x38, 2, 4, of, 2, d); }, "", minus_one, "", ipmi},
        {"ipmii2c_get", text, 2, [=](auto *, auto *d) { return ipmii2c_get("0-3", 0xa0, 0, r8, 2, nullptr, d); }, "", minus_one, "", ipmi},
        {"ipmii2c2_get", text, 2, [=](auto *, auto *d) { return ipmii2c2_get("0-3", 0xa0, 0, r8, 2, d); }, "", minus_one, "", ipmi},
        {"ipmitool2_set", unanswered, 0, [](auto *, auto *d) { const uint8_t of[] = {3, 0x50, 9, 1}; return ipmitool2_set(0x38, 3, 4, of, 0, d); }, "", minus_one, "", ipmi},
        {"ipmitool_set", plain, 0, [=](auto *, auto *) { return ipmitool_set("0-3", 0x50, 9, r8, two, 1, 0); }, "shell command(ipmitool raw 0x38 0x3 0x3 0x50 0x9 0x1 > /dev/null) failed\n", minus_one},
        {"i2ctool_set", plain, 0, [=](auto *, auto *) { return i2ctool_set("3", 0x50, 9, r8, two, 1, 0, 0); }, i2c_put, minus_one},
        {"i2ctool_set_no_cntrl", plain, 0, [=](auto *, auto *) { return i2ctool_set_no_cntrl("3", 0x50, 9, r8, two, 1, 0, 0); }, i2c_put, minus_one},
        {"ipmii2c_set", plain, 0, [=](auto *, auto *) { return ipmii2c_set("0-3", 0xa0, 9, r8, two, 1, 0); }, i2c_put, minus_one},
        {"ipmii2c2_set", plain, 0, [=](auto *, auto *) { return ipmii2c2_set("0-3", 0xa0, 9, r8, two, 1, 0); }, i2c_put, minus_one},
        {"gpiotool_set", plain, 0, [](auto *, auto *) { return gpiotool_set(0, 2, two, 0); }, "FAILED <<<---\nError Writing to GPIO\n", 0},
        {"lpctool_set", plain, 0, [](auto *, auto *) { return lpctool_set(9, two, 1, 'b', 0); }, "FAILED <<<---\nError Writing to LPC\n", DIAG_ERR_LPC_ACCESS},
        {"pcitool_set", plain, 0, [](auto *, auto *) { return pcitool_set(0, 31, 0, 9, two, 1, 0, 8); }, "", minus_one},
        {"memtool_set", plain, 0, [](auto *, auto *) { return memtool_set(9, 8, two, 1, 0); }, "FAILED <<<---\nError Writing to  MEM\n", 0},
        {"i2ctool_set_no_data", plain, 0, [](auto *, auto *) { return i2ctool_set_no_data(nullptr, 1, "3", 0x50); }, i2c_put, DIAG_ERR_FAILED, "", "", true},
    };
}
// clang-format on

struct outcome {
    uint32_t status;
    size_t stored = 0;     // bytes that come through a FIFO
    std::string told = ""; // % is the path
};

// Of a tool that ends with this raw status; whoever reads a text sees only that it is empty.
outcome of_failed_tool(const wrapper &w, uint32_t raw)
{
    if (w.answers_by == unanswered) {
        return {0};
    }
    const bool is_told_so = w.unprefixed || w.failed.empty();
    return {w.status != 0 ? w.status : raw, 0, is_told_so ? w.failed : error_line(w.name, w.failed)};
}

// Of a tool that succeeds, though with fewer bytes.
outcome of_good_tool(const wrapper &w, size_t missing)
{
    const bool is_empty = missing >= w.count;
    if (w.answers_by == text && is_empty) {
        return of_failed_tool(w, 0);
    }
    const bool is_told = w.answers_by == fifo && is_empty;
    return {0, is_empty ? 0 : w.count - missing, is_told ? "The tool wrote nothing into %\n" : ""};
}

// Of a wrapper that cannot go on, if it has a report of that.
outcome refused(const wrapper &w, const std::string &report)
{
    const uint32_t status = w.answers_by == fifo ? DIAG_ERR_FAILED : minus_one;
    return report.empty() ? of_good_tool(w, 0) : outcome{status, 0, error_line(w.name, report + "\n")};
}

// Without a beginning and an end of its own a fault is one of all tools.
struct fault {
    const char *name;
    std::function<outcome(const wrapper &)> expected;
    std::function<void()> begin = {}, end = {};
    bool leaves_fifos = false;
};

class World : public Calls {
  protected:
    struct result {
        uint32_t status = 0;
        alignas(nvram_record) answer data;
    };

    const std::vector<wrapper> all = wrappers();
    std::string folder = board.root; // of the FIFOs
    std::vector<result> good;
    std::string told;

    void SetUp() override
    {
        good = call_all();
        expect_good();
    }

    std::string pipe_of(const wrapper &w) const
    {
        return folder + "/" + w.name;
    }

    /// Calls all wrappers at once; under emulation one after another, since an emulator that forks while
    /// others of its threads translate code leaves a child that waits for their locks for good.
    std::vector<result> call_all(const std::function<void()> &begin = [] {})
    {
        std::vector<result> results(all.size());
        struct sigaction before = {}, now = {};
        sigaction(SIGINT, nullptr, &before);
        told = console_of([&] {
            begin();
            std::vector<std::jthread> threads;
            for (size_t i = 0; i < all.size(); i++) {
                results[i].data.fill(0xee);
                threads.emplace_back([&, i] {
                    results[i].status = all[i].call(pipe_of(all[i]).c_str(), results[i].data.data());
                });
                if (emulated) {
                    threads.back().join();
                }
            }
        });
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
        sigaction(SIGINT, nullptr, &now);
        EXPECT_EQ(now.sa_handler, before.sa_handler) << "however runs with and without a shell overlapped";
        return results;
    }

    void expect_good()
    {
        const auto results = call_all();
        EXPECT_EQ(told, "\n") << "of ipmitool itself, whose output ipmii2c2_set lets pass";
        for (size_t i = 0; i < all.size(); i++) {
            EXPECT_TRUE(results[i].status == 0 && results[i].data == good[i].data) << all[i].name;
            EXPECT_FALSE(std::filesystem::exists(pipe_of(all[i])));
        }
    }

    void expect(const wrapper &w, const result &met, const result &well, const outcome &expected,
                bool leaves_fifo)
    {
        const std::string message = std::regex_replace(expected.told, std::regex("%"), pipe_of(w));
        const size_t at = told.find(message);
        EXPECT_EQ(met.status, expected.status) << w.name;
        ASSERT_NE(at, std::string::npos) << message << told;
        told.erase(at, message.size());
        EXPECT_EQ(met.data[w.count], 0xee) << w.name;
        EXPECT_EQ(std::filesystem::exists(pipe_of(w)), leaves_fifo && w.answers_by == fifo) << w.name;
        if (w.answers_by == fifo && expected.stored < w.count) {
            const auto *end = met.data.begin() + expected.stored;
            EXPECT_TRUE(std::equal(met.data.begin(), end, well.data.begin())) << w.name;
            EXPECT_EQ(*end, w.count == most_bytes ? 0 : 0xee)
                << "the record is cleared before it is asked for";
        }
    }

    /// Calls all under a fault, and once more when it is gone.
    void meet(const fault &f)
    {
        SCOPED_TRACE(f.name);
        std::string lines;
        for (const char *tool :
             {"i2ctool", "ipmitool", "gpiotool", "lpctool", "pcitool", "memtool", "nvramtool"}) {
            lines += tool + " 0 "s + f.name + "\n";
        }
        const auto results = call_all(f.begin ? f.begin : [&] { board.set_faults(lines); });
        for (size_t i = 0; i < all.size(); i++) {
            expect(all[i], results[i], good[i], f.expected(all[i]), f.leaves_fifos);
        }
        EXPECT_LE(std::ranges::count(told, '\n'), 1)
            << "more than ipmitool's line behind all reports: " << told;
        f.end ? f.end() : board.set_faults("");
        expect_good();
    }
};

TEST_F(World, FaultsOfToolsFoldersAndDescriptors)
{
    const std::string path_now = getenv("PATH");
    struct rlimit found = {};
    getrlimit(RLIMIT_NOFILE, &found);
    const struct rlimit few = {32, found.rlim_max};
    std::vector<int> used;
    const fault faults[] = {
        {"exit 2", [](auto &w) { return of_failed_tool(w, 2 << 8); }},
        {"signal 9", [](auto &w) { return of_failed_tool(w, (128 + SIGKILL) << 8); }},
        {"silent", [](auto &w) { return of_good_tool(w, w.count); }},
        {"short 1", [](auto &w) { return of_good_tool(w, 1); }},
        {"long 3", [](auto &w) { return of_good_tool(w, 0); }},
        {"late 30", [](auto &w) { return of_good_tool(w, 0); }},
        {"garbage",
         [](auto &w) {
             const bool reads_any_text = w.name == "ipmitool_get"s; // and makes bytes of it
             return w.answers_by >= text && !reads_any_text ? outcome{w.status} : of_good_tool(w, 0);
         },
         [this] { board.set_faults("ipmitool 0 garbage\n"); }, [this] { board.set_faults(""); }},
        {"SIGCHLD ignored",
         [](auto &w) { return w.answers_by == text ? of_good_tool(w, 0) : of_failed_tool(w, minus_one); },
         [] { signal(SIGCHLD, SIG_IGN); }, [] { signal(SIGCHLD, SIG_DFL); }},
        {"no tools", [](auto &w) { return of_failed_tool(w, 127 << 8); },
         [] { setenv("PATH", "/nowhere", 1); }, [&] { setenv("PATH", path_now.c_str(), 1); }},
        {"no folder", [](auto &w) { return refused(w, w.create_failed); }, [this] { folder += "/none"; },
         [this] { folder = board.root; }},
        {"no descriptor", [](auto &w) { return refused(w, w.open_failed); },
         [&] {
             setrlimit(RLIMIT_NOFILE, &few);
             for (int fd; (fd = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)) >= 0;) { // which tools do not have
                 used.push_back(fd);
             }
         },
         [&] { std::ranges::for_each(used, close), setrlimit(RLIMIT_NOFILE, &found); }, true},
    };
    std::ranges::for_each(faults, [this](const fault &f) { meet(f); });
}
