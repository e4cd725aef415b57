/* SPDX-License-Identifier: MIT */
// What the tests of the device wrappers share: a simulated board, and calls held against all that they tell.
#ifndef TESTS_ACCESS_CALLS_H
#define TESTS_ACCESS_CALLS_H

#include <regex>

#include "support/capture.h"
#include "support/sim_board.h"

using bytes = std::vector<uint8_t>;

constexpr uint32_t minus_one = UINT32_MAX;
constexpr uint8_t two[] = {0x01, 0xab};

/// What is left of what wrappers tell at verbosity 3 when the verbosity is lower. A line of no level of its
/// own belongs to the message before it; the first is an error, or the tool's own.
inline std::string told_at(int verbosity, const std::string &told)
{
    static const std::pair<std::regex, int> levels[] = {
        {std::regex("ERROR: .*"), -1},
        {std::regex("ipmitool_[gs]et: ipmitool raw 0x3(8 0x.|c 0x..) .*"), 3}, // of a register
        {std::regex(".* bytes read from the fifo|FAILED <<<---|fgets .*|ipmi read .*"), 2},
        {std::regex("ipmii2c_get:(\\[| [[:xdigit:]]{2}$).*"), 2},
        {std::regex("(Calling|Byte|byte|The length) .*|\\w+_[gs]et\\w* ?: .*|.* bytes written to .*"), 1},
    };
    std::istringstream in(told);
    std::string left;
    int level = -1;
    for (std::string line; std::getline(in, line);) {
        const auto is_its = [&](const auto &known) { return std::regex_match(line, known.first); };
        const auto *found = std::ranges::find_if(levels, is_its);
        level = found != std::end(levels) ? found->second : level;
        left += level <= verbosity ? line + (in.eof() ? "" : "\n") : "";
    }
    return left;
}

class Calls : public testing::Test {
  protected:
    sim_board board;
    std::string path = board.root + "/answer";
    const char *pipe = path.c_str();
    bytes data = bytes(1024, 0xee);
    uint8_t *dest = data.data();

    /// Calls the wrapper at each verbosity and expects what it tells at 3 as far as its level goes, its
    /// status, and that nothing stays behind.
    template <typename... P>
    void expect(const std::string &all, uint32_t status, uint32_t (*wrapper)(P...),
                std::type_identity_t<P>... args)
    {
        for (int verbosity = 0; verbosity <= 3; verbosity++) {
            set_verb_level(verbosity);
            EXPECT_EQ(told(status, [&] { return wrapper(args...); }), told_at(verbosity, all)) << all;
            EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1); // no child
            EXPECT_FALSE(std::filesystem::exists(path));  // no FIFO
        }
    }

    /// The first bytes at `dest`, which is made new.
    bytes got(size_t count)
    {
        const bytes taken(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(count));
        std::ranges::fill(data, uint8_t{0xee});
        return taken;
    }

    /// Puts a shell script in a tool's place; its path.
    std::string become(const std::string &script, const std::string &name = "ipmitool")
    {
        const std::string bin = board.root + "/bin", tool = bin + "/" + name;
        std::filesystem::create_directory(bin);
        std::ofstream(tool) << "#!/bin/sh\n" << script << '\n';
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
        if (!std::string(getenv("PATH")).starts_with(bin)) {
            setenv("PATH", (bin + ':' + getenv("PATH")).c_str(), 1);
        }
        return tool;
    }
};

#endif
