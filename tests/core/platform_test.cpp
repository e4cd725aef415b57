/* SPDX-License-Identifier: MIT */
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/utsname.h>

#include <boarddiag.h>

#include "support/capture.h"

using diagtest::console_of;

namespace {

const char *machine;

// A folder that is gone after the case.
struct folder {
    std::filesystem::path path;

    folder()
    {
        char name[] = "/tmp/platform_testXXXXXX";
        path = mkdtemp(name);
    }
    ~folder()
    {
        std::filesystem::remove_all(path);
    }
    std::string add(const char *name) const
    {
        std::ofstream(path / name) << "x";
        return path / name;
    }
};

} // namespace

extern "C" int __real_uname(struct utsname *host);
extern "C" int __wrap_uname(struct utsname *host)
{
    if (machine == nullptr) {
        return -1;
    }
    const int result = __real_uname(host);
    if (*machine != '\0') {
        strcpy(host->machine, machine);
    }
    return result;
}

TEST(Platform, ProcessorFamily)
{
    const auto report = [](const char *message) { return diagtest::error_line("get_cpu_arch", message); };
    struct {
        const char *machine;
        int code; // -1: refused, the output stays
        std::string told;
    } const cases[] = {{"x86_64", CPU_ARCH_X86, ""},
                       {"armv7l", CPU_ARCH_ARM, ""},
                       {"x86345678", CPU_ARCH_X86, ""},
                       {"x863456789", -1, report("Could not get valid cpu architecture\n")},
                       {"aarch64", -1, report("Could not get valid cpu architecture\n")},
                       {"i686", -1, report("Could not get valid cpu architecture\n")},
                       {"ar", -1, report("Could not get valid cpu architecture\n")},
                       {nullptr, -1, report("Could not get cpu architcture!\n")}};
    for (const auto &c : cases) {
        machine = c.machine;
        int code = -1;
        EXPECT_EQ(console_of([&] { EXPECT_EQ(get_cpu_arch(&code), c.code < 0 ? DIAG_ERR_FAILED : 0); }),
                  c.told);
        EXPECT_EQ(code, c.code);
    }
#ifdef __x86_64__
    machine = ""; // the real one
    int code = -1;
    EXPECT_EQ(get_cpu_arch(&code), 0u);
    EXPECT_EQ(code, 3);
#endif
}

TEST(Platform, ConfigurationFile)
{
    const folder dir;
    const std::string base = dir.path / "board";
    const auto chosen = [&] {
        char *const name = build_config_filename(base.c_str());
        const std::string text = name == nullptr ? "none" : name;
        free(name);
        return text;
    };
    set_verb_level(1);
    mkfifo((dir.path / "board.xml").c_str(), 0600); // opening it must not wait for a writer
    EXPECT_EQ(chosen(), base + ".xml");
    std::filesystem::remove(base + ".xml");
    std::filesystem::create_directory(base + ".cfg");
    EXPECT_EQ(console_of([&] { EXPECT_EQ(chosen(), "none"); }),
              "Config file (" + base + ") must be either end in a .xml or .cfg extension\n");
    dir.add("board.xml");
    EXPECT_EQ(chosen(), base + ".xml");
    std::filesystem::remove(base + ".cfg");
    dir.add("board.cfg");
    EXPECT_EQ(chosen(), base + ".cfg");
    EXPECT_EQ(console_of([] { EXPECT_EQ(build_config_filename(nullptr), nullptr); }),
              diagtest::error_line(
                  "build_config_filename",
                  "You must pass a valid string to use as the base of the filename without extension\n"));
}

TEST(Platform, FilesOfTheBinFolder)
{
    const folder dir;
    std::filesystem::create_directories(dir.path / "lib");
    std::filesystem::create_directories(dir.path / "bin/folder");
    dir.add("bin/tool");
    const std::string lib = dir.path / "lib";
    // A path of 255 characters fits, one of 256 does not, though the file exists.
    const auto padded = [&](size_t total) {
        return lib + std::string(total - lib.size() - strlen("/../bin/tool"), '/');
    };
    struct {
        std::string libraries;
        const char *name;
        uint32_t status;
    } const cases[] = {{lib, "tool", 0},
                       {lib, "absent", DIAG_ERR_INVALID_ARG},
                       {lib, "folder", DIAG_ERR_INVALID_ARG},
                       {lib + ":" + lib, "tool", DIAG_ERR_INVALID_ARG},
                       {padded(255), "tool", 0},
                       {padded(256), "tool", DIAG_ERR_INVALID_ARG},
                       {"", nullptr, DIAG_ERR_INVALID_ARG}};
    set_verb_level(3);
    for (const auto &c : cases) {
        setenv("LD_LIBRARY_PATH", c.libraries.c_str(), 1);
        const auto told = console_of([&] { EXPECT_EQ(check_file_existance_in_diagbin(c.name), c.status); });
        EXPECT_EQ(told, c.name == nullptr ? "Input file pointer is NULL\n" : "") << c.libraries;
    }
    unsetenv("LD_LIBRARY_PATH");
    EXPECT_EQ(check_file_existance_in_diagbin("tool"), DIAG_ERR_INVALID_ARG);
}
