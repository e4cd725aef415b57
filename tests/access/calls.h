/* SPDX-License-Identifier: MIT */
// What the tests of the device wrappers share: a simulated board, and calls held against all that they tell.
#ifndef TESTS_ACCESS_CALLS_H
#define TESTS_ACCESS_CALLS_H

#include <filesystem>
#include <fstream>
#include <sys/wait.h>

#include "support/capture.h"
#include "support/sim_board.h"

using diagtest::error_line;
using bytes = std::vector<uint8_t>;
using namespace std::string_literals;

constexpr uint32_t minus_one = UINT32_MAX;
constexpr uint8_t two[] = {0x01, 0xab};

class Calls : public testing::Test {
  protected:
    diagtest::sim_board board;
    std::string path = board.root + "/answer";
    const char *pipe = path.c_str();
    bytes data = bytes(1024, 0xee);
    uint8_t *dest = data.data();

    /// Calls the wrapper and expects what it tells at verbosity 3, its status, and that nothing stays behind.
    template <typename... P>
    void expect(const std::string &told, uint32_t status, uint32_t (*wrapper)(P...),
                std::type_identity_t<P>... args)
    {
        uint32_t result = 0;
        set_verb_level(3);
        EXPECT_EQ(diagtest::console_of([&] { result = wrapper(args...); }), told);
        EXPECT_EQ(result, status) << told;
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1); // no child
        EXPECT_FALSE(std::filesystem::exists(path));  // no FIFO
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
